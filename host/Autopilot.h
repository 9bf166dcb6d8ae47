// The autopilot (/autoclick=, /screens=): runs the installer's dialog without a
// user, for demos and tests on machines nobody sits at.
//
// A thread of the engine looks for a visible top-level window of its own
// process whose class starts with "HtmlayoutWindow" (the window command's
// dialog) and reads its page through htmlayout.dll, the module the plug-in
// drew the page with (the library's functions may be called from any thread).
// It clicks the elements of the plan in turn, each as soon as it is shown and
// not disabled, with the window messages a user's click makes (move, button
// down, button up at the element's centre); and it writes a picture of the
// dialog each time its step (current_step of #install_window) changes.
//
// Pictures: step<N>.png in the plan's folder, taken when the page has settled
// (300 ms after the step showed); in a running step (2 installing,
// 5 uninstalling, 6 repairing) once the step's bar shows 40 % or more, or, when
// the step ends first, the last sight of it. A click waits until the picture of
// the step it is in has been taken, so that each step is seen as it was before
// the click changed it.
//
// A click whose element does not show within the plan's time limit is given up
// with a line naming it, and the dialog's close button (btnSysClose) is clicked
// instead, so that the run ends rather than wait for a user who is not there.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/ScopedHandle.h"

struct AutopilotPlan {
  std::vector<std::wstring> clicks;  // element ids, clicked in this order
  std::wstring screens;              // folder of the pictures; empty: no pictures
  DWORD clickWaitMs = 60000;         // how long each click waits for its element

  bool Empty() const { return clicks.empty() && screens.empty(); }
};

class Autopilot {
 public:
  Autopilot();
  ~Autopilot();  // stops the thread
  Autopilot(const Autopilot&) = delete;
  Autopilot& operator=(const Autopilot&) = delete;

  // Binds htmlayout.dll by full path from libraryFolder (the plug-in's folder,
  // with a trailing backslash) and starts the thread. False, with why, when the
  // library cannot be bound: the run then goes on without a pilot.
  bool Start(const AutopilotPlan& plan, const std::wstring& libraryFolder, std::wstring* why);

  // Ends the thread and waits for it: at the end of the run, when the dialog is
  // gone. A running step not pictured yet is written from its last sight;
  // clicks never made are named.
  void Stop();

 private:
  struct Pilot;
  std::unique_ptr<Pilot> pilot_;
  ScopedKernelHandle thread_;
};
