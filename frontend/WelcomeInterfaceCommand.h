// VltWelcomeInterface: the installer's dialog. One HTML page, lang\welcome.html
// in the application folder, shows a face per step of a small state machine
// (its attribute current_step on "install_window"); the user agrees, uninstalls
// or repairs, the command signals HANDLE_StartInstallEv, the work runs on other
// chains of the script, and a timer on the window's thread follows the progress
// protocol until the ended view. Execute returns when the dialog closes; the
// window stays, hidden, for a later command with the same windowId.
//
// The first page also offers the installer's languages (LanguageSelection.cpp):
// a pick is applied on a thread of its own, as the language may have to be
// downloaded first, and the page is then reloaded with its texts.
#pragma once

#include <windows.h>

#include <string>

#include "engine/InstallCommand.h"
#include "engine/interfaces/MultiLanguage.h"
#include "frontend/FrontendTexts.h"
#include "frontend/HtmlEvents.h"
#include "frontend/HtmlayoutHost.h"

class CVltWelcomeInterfaceCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = welcometext::kTag;
  // Its begin line names the window, so the frame writes none.
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};

  enum Step : int32_t {
    StepWelcome = 1,
    StepInstalling = 2,
    StepInstallDone = 3,
    StepMaintenance = 4,
    StepUninstalling = 5,
    StepRepairing = 6,
    StepUninstallDone = 7,
    StepRepairDone = 8,
  };

  // The window's event handler: every event of the page, acting on behaviour
  // events only.
  class DOMEventsHandlerType : public HtmlEventHandler {
   public:
    explicit DOMEventsHandlerType(CVltWelcomeInterfaceCommand* command)
        : HtmlEventHandler(static_cast<UINT>(-1)), command(command) {}
    bool HandleBehaviorEvent(HELEMENT he, BEHAVIOR_EVENT_PARAMS& params) override;
    CVltWelcomeInterfaceCommand* command;
  };

  CVltWelcomeInterfaceCommand();
  ~CVltWelcomeInterfaceCommand();

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  // The window procedure of every dialog window; the command is in the
  // window's user data.
  static LRESULT CALLBACK WindowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);

  // Steps and views, on the window's thread.
  void OnTimer(WPARAM timerId);
  void OnButtonClick(HELEMENT target);
  void OnSendUsageChanged(HELEMENT target);
  void StartWork();
  void SetCurrentStep(const wchar_t* step);
  void ShowProgressView();
  void ShowFinishView();
  void ShowFailureView();
  void RefreshPage();
  void ReloadPage();

  // The language select (LanguageSelection.cpp).
  void BuildLanguageList(HELEMENT root);
  void OnLanguageSelected(HELEMENT target);
  static DWORD WINAPI LanguageSwitchThread(LPVOID parameter);

  DOMEventsHandlerType* domHandler;
  int32_t windowId = 1;
  volatile LONG quitRequested = 0;  // nothing sets it: the loop ends by the quit message
  HtmlayoutWindowInfo* windowInfo = nullptr;
  HANDLE cancelHandle = nullptr;
  CRITICAL_SECTION* storeLock = nullptr;
  bool repaintOnSize = false;  // nothing sets it
  wchar_t* selectedLanguage = nullptr;
  bool selectedLanguageRtl = false;
  IMultiLanguageApi* languageApi = nullptr;
  HWND hwnd = nullptr;
  int32_t step = StepWelcome;
  int32_t percent = 0;
  int32_t shownPercent = -1;
  int32_t isInstalled = 0;
  const wchar_t* installPathText = nullptr;
  HELEMENT rootElement = nullptr;

  SELFFREE_DESTRUCTOR(CVltWelcomeInterfaceCommand)

 private:
  // Fills the option list from the language manager's list.
  void FillLanguageOptions(HELEMENT options, const LanguageList& languages);
  // Shows the default language's name in the caption, repairing a default that
  // names no known language.
  void ShowLanguageCaption(HELEMENT caption);
  // The failure view of step 5 or 6: their elements' prefix, text and next step.
  void ShowMaintenanceFailure(const char* prefix, const wchar_t* textId, const wchar_t* nextStep,
                              const wchar_t* reason);
  // The end of running work common to every ended view: the timer stopped, the
  // next step, the finish button shown (and Install hidden), the close button enabled.
  void EndWork(const wchar_t* nextStep, bool hideAgree);
  // Reads the page file; false when it is missing or unreadable.
  bool ReadPage(IResourceManager* resources, std::string* bytes);
  // Title, instance, procedure, class icons, styles: what every (re)load gives the window.
  void DressWindow(HWND window, IResourceManager* resources);
};
