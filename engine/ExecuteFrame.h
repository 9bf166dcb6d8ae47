// The skeleton every command's Execute shares: the guard against a second
// thread, the begin line, and at the end the executed mark, the end line with the
// next index, and the release of the guard.
//
//   int32_t CRegDeleteValueCommand::Execute(HANDLE, CRITICAL_SECTION*) {
//     ExecuteFrame frame(*this, kFrame);
//     if (!frame.Entered()) return frame.Busy();
//     ... the command's own work ...
//     return frame.Done();
//   }
//
// Not every command does all of it, and log readers know each one as it is. What
// a command leaves out is said once, in its FrameStyle, never by hand.
#pragma once

#include <windows.h>

#include <cstdint>

class CInstallCommand;

enum FrameFlag : unsigned {
  kFrameNoGuard = 1u << 0,          // runs without taking the command's lock
  kFrameNoBeginLine = 1u << 1,      // writes no begin line, or one of its own
  kFrameNoEndLine = 1u << 2,        // writes no end line
  kFrameNeverMarked = 1u << 3,      // never marks itself executed
  kFrameMirrored = 1u << 4,         // the frame lines also go to log.dll, under mirrorSite
  // The begin line comes before the guard, and a guard held by another thread
  // only skips the work: no busy line, the end line all the same, status 0.
  kFrameSkipWhenBusy = 1u << 5,
  // The lock is tried twice in a row and both entries count; the one release at
  // the end leaves it held once, so the first thread to run the command keeps it
  // for good. Only the second try decides whether the command runs.
  kFrameEntersTwice = 1u << 6,
};
// A command with no frame at all: no guard, no lines, never marked.
constexpr unsigned kFrameBare = kFrameNoGuard | kFrameNoBeginLine | kFrameNoEndLine | kFrameNeverMarked;

struct FrameStyle {
  const wchar_t* tag;                 // the tag of the begin, end and busy lines
  unsigned flags = 0;
  const wchar_t* busyTag = nullptr;   // the busy line's tag, where it differs from tag
  const char* mirrorSite = nullptr;   // with kFrameMirrored: the site's name for log.dll
  const wchar_t* mirrorSiteWide = nullptr;
};

class ExecuteFrame {
 public:
  // Takes the guard (without waiting) and writes the begin line, as the style says.
  ExecuteFrame(CInstallCommand& command, const FrameStyle& style);
  // Leaves the guard if the command returned without Done or KeepLock.
  ~ExecuteFrame();
  ExecuteFrame(const ExecuteFrame&) = delete;
  ExecuteFrame& operator=(const ExecuteFrame&) = delete;

  // True when the command may do its work.
  bool Entered() const { return entered_; }
  // What Execute returns when another thread holds the guard: 1359 after the
  // busy line, or with kFrameSkipWhenBusy 0 after the end line.
  int32_t Busy();
  // The end of the run: the executed mark, the end line, the guard released.
  int32_t Done(int32_t status = 0);
  // The end of a run that keeps the guard held and writes no end line: the
  // command stays locked against every later visit. Only for the paths that have
  // always ended that way.
  int32_t KeepLock(int32_t status = 0);

  // Writes a line the way this frame writes its own (mirrored or not).
  void Line(int32_t level, const wchar_t* format, ...);

  // The innermost frame of the calling thread, null outside every Execute: a
  // fatal overrun names the command it ends.
  static const ExecuteFrame* Current();
  int32_t Index() const;
  const wchar_t* Tag() const { return style_.tag; }

 private:
  void EndLine();

  CInstallCommand& command_;
  const FrameStyle& style_;
  bool entered_ = false;
  bool finished_ = false;
  const ExecuteFrame* outer_;  // the thread's frame before this one
};
