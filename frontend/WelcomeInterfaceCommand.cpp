#include "frontend/WelcomeInterfaceCommand.h"

#include <shellapi.h>

#include <cwchar>
#include <string>
#include <vector>

#include "diagnostics/FileResourceManager.h"
#include "engine/Attributes.h"
#include "engine/Bounded.h"
#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"

using namespace welcometext;

namespace {

constexpr UINT_PTR kProgressTimer = 1;
constexpr UINT kProgressTimerPeriod = 100;
constexpr UINT kHtmlayoutFontSmoothing = 4;  // option, and its value
constexpr UINT kFontSmoothingValue = 3;
constexpr UINT kBrowseFoldersState = 8;
constexpr LONG_PTR kDialogStyle = static_cast<LONG_PTR>(0x800A0008);
constexpr LONG_PTR kDialogExStyle = 0xC0000;  // layered, application window
constexpr DWORD kNullAccess = 0xC0000005;

// Run once per process, not per window: the first refresh decides between the
// welcome and the maintenance step.
volatile LONG g_firstRefresh = 1;

const HtmlayoutLibrary& Hl() { return *Htmlayout(); }

std::wstring Text(IResourceManager* resources, const wchar_t* id, size_t capacity) {
  std::vector<wchar_t> text(capacity, L'\0');
  if (resources != nullptr) resources->GetString(id, text.data(), static_cast<int32_t>(capacity));
  return text.data();
}

void SetAttribute(HELEMENT root, const char* id, const char* name, const wchar_t* value, bool invalidate = false) {
  HELEMENT element = FindElementById(root, id);
  if (element == nullptr) return;
  Hl().HTMLayoutSetAttributeByName(element, name, value);
  if (invalidate) InvalidateElement(element);
}

void SetStyleText(HELEMENT root, const char* id, const wchar_t* style, bool invalidate = false) {
  SetAttribute(root, id, "style", style, invalidate);
}

void SetInnerText(HELEMENT root, const char* id, const std::wstring& text) {
  HELEMENT element = FindElementById(root, id);
  if (element == nullptr) return;
  Hl().HTMLayoutSetElementInnerText16(element, text.c_str(), static_cast<UINT>(text.size()));
  InvalidateElement(element);
}

std::string ElementId(const char* prefix, const char* suffix) { return std::string(prefix) + suffix; }

// No frame, layered: the page draws the whole dialog.
void SetDialogStyles(HWND window) {
  SetWindowLongPtrW(window, GWL_STYLE, kDialogStyle);
  SetWindowLongPtrW(window, GWL_EXSTYLE, kDialogExStyle);
}

CVltWelcomeInterfaceCommand* CommandOf(HWND hwnd) {
  return reinterpret_cast<CVltWelcomeInterfaceCommand*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
}

}  // namespace

CVltWelcomeInterfaceCommand::CVltWelcomeInterfaceCommand() : domHandler(new DOMEventsHandlerType(this)) {}

CVltWelcomeInterfaceCommand::~CVltWelcomeInterfaceCommand() {
  delete domHandler;
  free(selectedLanguage);
}

int32_t CVltWelcomeInterfaceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadNumber(L"windowId", &windowId);
  return kStatusOk;
}

namespace {

// The page without its extension, and the folder URL its own files are joined to.
std::wstring PagePath() {
  CString* application = StoreGetString(storename::kApplicationPath);
  return std::wstring(application != nullptr ? application->text : L"") + kPageName;
}
std::vector<wchar_t> PageBaseUrl(size_t capacity) {
  CString* application = StoreGetString(storename::kApplicationPath);
  std::vector<wchar_t> url(capacity, L'\0');
  BoundedFormat(url.data(), capacity, L"%s%s%s", kUrlScheme, application != nullptr ? application->text : L"",
                kPageFolder);
  return url;
}

}  // namespace

bool CVltWelcomeInterfaceCommand::ReadPage(IResourceManager* resources, std::string* bytes) {
  if (resources == nullptr || StoreGetString(storename::kApplicationPath) == nullptr) return false;
  std::wstring name = PagePath();
  uint32_t size = 0;
  if (!resources->GetFileResource(name.c_str(), kPageExtension, nullptr, &size)) return false;
  bytes->assign(size, '\0');
  return resources->GetFileResource(name.c_str(), kPageExtension, &(*bytes)[0], &size);
}

void CVltWelcomeInterfaceCommand::DressWindow(HWND window, IResourceManager* resources) {
  std::wstring title = WindowTitle(resources);
  SetWindowTextW(window, title.c_str());
  LONG_PTR language = static_cast<LONG_PTR>(StoreGet(storename::kLangDll));
  SetWindowLongPtrW(window, GWLP_HINSTANCE, language);
  SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(WindowProc));
  HICON icon = nullptr;
  if (resources != nullptr) resources->GetIcon(MAKEINTRESOURCEW(kInstallerIconId), &icon);
  SetClassLongPtrW(window, GCLP_HICON, reinterpret_cast<LONG_PTR>(icon));
  SetClassLongPtrW(window, GCLP_HICONSM, reinterpret_cast<LONG_PTR>(icon));
  SetClassLongPtrW(window, GCLP_HMODULE, language);
}

int32_t CVltWelcomeInterfaceCommand::Execute(HANDLE cancel, CRITICAL_SECTION* lock) {
  cancelHandle = cancel;
  storeLock = lock;
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  LogMessage(kBegin, index, kTag, windowId);

  // Without the library no window can be shown: say why, take the path of a
  // missing page, and tell the script that the user's choice will never come.
  std::wstring libraryPath;
  DWORD libraryError = ERROR_SUCCESS;
  if (Htmlayout(&libraryPath, &libraryError) == nullptr) {
    LogMessage(kNoLibrary, index, kTag, libraryPath.c_str(), static_cast<int>(libraryError));
    LogMessage(kNoPage, index, kTag);
    StorePut(storename::kSetupCancelled, 1);
    return frame.Done(kStatusBusy);
  }
  const HtmlayoutLibrary& hl = Hl();

  std::string infoName = WindowInfoName(windowId);
  EnterCriticalSection(storeLock);
  auto* info = StoreGetObject<HtmlayoutWindowInfo>(infoName.c_str());
  if (info == nullptr) {
    LogMessage(kCreatingInfo, index, kTag, windowId);
    info = BuildWindowInfo(windowId);
    StorePutObject(infoName.c_str(), info);
  } else {
    LogMessage(kFoundInfo, index, kTag, windowId);
  }
  LeaveCriticalSection(storeLock);

  if (InterlockedExchange(&info->inUse, 1) == 1) {
    // Another command shows this window: its record is left as it is.
    LogMessage(kInUse, index, kTag, windowId);
    return frame.Done(kStatusBusy);
  }
  windowInfo = info;
  bool existed = InterlockedExchange(&info->created, 1) != 0;
  // A window lives with the thread that made it, and only that thread gets its
  // messages: one made on another chain (gone, or pumping elsewhere) would
  // leave this command's loop waiting for ever. Such a command makes its own.
  if (existed && (!IsWindow(info->hwnd) || GetWindowThreadProcessId(info->hwnd, nullptr) != GetCurrentThreadId())) {
    existed = false;
  }

  auto* resources = StoreGetObject<IResourceManager>(storename::kResourceManager);
  languageApi = StoreGetObject<IMultiLanguageApi>(storename::kMultiLanguageApi);
  if (languageApi == nullptr) {
    LogMessage(frontendtext::kNoLanguageApi, index, kNoLanguageApiTag);
  } else if (CString* language = StoreGetString(storename::kDefaultLanguage)) {
    languageApi->SelectLanguage(language->text);
  }

  if (existed) {
    LogMessage(kCreated, index, kTag, windowId);
    DressWindow(info->hwnd, resources);
  } else {
    LogMessage(kCreating, index, kTag, windowId);
    RegisterWindowClass(windowId, WindowProc, resources);
    info->hwnd = CreateDialogWindow(windowId, resources);
    if (info->hwnd == nullptr) {
      // No display (or no desktop): there is no window to pump messages for,
      // and a loop without one would never end. The record stays without a
      // window, so that a later command tries again.
      LogMessage(kNoWindow, index, kTag, windowId, static_cast<int>(GetLastError()));
      LogMessage(kNoPage, index, kTag);
      InterlockedExchange(&info->created, 0);
      InterlockedExchange(&info->inUse, 0);
      StorePut(storename::kSetupCancelled, 1);
      return frame.Done(kStatusBusy);
    }
  }
  HWND window = info->hwnd;

  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetDialogStyles(window);
  hl.HTMLayoutSetCallback(window, HtmlayoutNotify, resources);
  hl.HTMLayoutWindowAttachEventHandler(window, HtmlEventHandler::ElementProc, domHandler, HANDLE_ALL);

  int32_t result = kStatusOk;
  std::vector<wchar_t> baseUrl = PageBaseUrl(kUrlCapacity);

  // The page comes from a file manager of its own: the shared one may serve
  // another folder.
  CFileResourceManager pageFiles;
  std::string page;
  if (!ReadPage(&pageFiles, &page)) {
    LogMessage(kNoPage, index, kTag);
    // As without a window: no choice will come, and the script must not wait for one.
    StorePut(storename::kSetupCancelled, 1);
    result = kStatusBusy;
  } else {
    hl.HTMLayoutLoadHtmlEx(window, reinterpret_cast<LPCBYTE>(page.data()), static_cast<UINT>(page.size()),
                           baseUrl.data());
    page.clear();
    HELEMENT root = nullptr;
    hl.HTMLayoutGetRootElement(window, &root);
    if (root != nullptr) {
      hl.HTMLayout_UseElement(root);
      SizeWindowToPage(window, root, true);
      BuildLanguageList(root);
      FillPageTexts(root, resources);
    }
    // A new window is centred once more, after its texts gave it its size.
    if (!existed) CenterWindowOnMonitor(window);
    hl.HTMLayoutSetOption(window, kHtmlayoutFontSmoothing, kFontSmoothingValue);
    PostMessageW(window, WM_HTMLAYOUT_REFRESH, 0, 0);
    ShowWindow(window, SW_SHOW);
    UpdateWindow(window);

    MSG msg;
    while (quitRequested == 0) {
      if (GetMessageW(&msg, nullptr, 0, 0) == 0) break;
      if (TranslateAcceleratorW(msg.hwnd, nullptr, &msg)) continue;
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    }
    if (root != nullptr) hl.HTMLayout_UnuseElement(root);
  }

  hl.HTMLayoutWindowDetachEventHandler(window, HtmlEventHandler::ElementProc, domHandler);
  InterlockedExchange(&info->inUse, 0);
  InterlockedExchange(&info->refreshPending, 0);
  return frame.Done(result);
}

LRESULT CALLBACK CVltWelcomeInterfaceCommand::WindowProc(HWND window, UINT msg, WPARAM wParam, LPARAM lParam) {
  const HtmlayoutLibrary& hl = Hl();
  CVltWelcomeInterfaceCommand* self = CommandOf(window);
  HELEMENT root = nullptr;
  hl.HTMLayoutGetRootElement(window, &root);
  if (root != nullptr) hl.HTMLayout_UseElement(root);
  struct Release {
    HELEMENT root;
    ~Release() {
      if (root != nullptr) Hl().HTMLayout_UnuseElement(root);
    }
  } release{root};

  BOOL handled = FALSE;
  LRESULT result = hl.HTMLayoutProcND(window, msg, wParam, lParam, &handled);
  if (handled) return result;
  if (self == nullptr) return DefWindowProcW(window, msg, wParam, lParam);

  switch (msg) {
    case WM_TIMER:
      self->OnTimer(wParam);
      break;
    case WM_HTMLAYOUT_REFRESH:
      self->rootElement = root;
      self->hwnd = window;
      RunRefreshPass(*self->windowInfo, window, wParam, lParam, [self] { self->RefreshPage(); });
      break;
    case WM_HTMLAYOUT_HARD_REFRESH:
      self->ReloadPage();
      break;
    case WM_HTMLAYOUT_CLOSE:
      KillTimer(window, kProgressTimer);
      ShowWindow(window, SW_HIDE);
      PostQuitMessage(0);
      InterlockedExchange(&self->windowInfo->refreshPending, 0);
      PostQuitMessage(0);
      return 0;
    case WM_DESTROY:
    case WM_CLOSE:
    case WM_QUIT:
      // Ends the dialog's loop, but neither hides the window nor marks a cancel.
      PostQuitMessage(0);
      return 0;
    case WM_SIZE:
      if (self->repaintOnSize) {
        self->repaintOnSize = false;
        InvalidateRgn(window, nullptr, TRUE);
        UpdateWindow(window);
        hl.HTMLayoutUpdateWindow(window);
      }
      break;
    default:
      break;
  }
  return DefWindowProcW(window, msg, wParam, lParam);
}

void CVltWelcomeInterfaceCommand::OnTimer(WPARAM timerId) {
  HANDLE progress = reinterpret_cast<HANDLE>(StoreGet(storename::kInstallProgressEvent));
  // Any other result than a timeout counts as a signal, a failed wait too: without
  // the event every tick reads the percentage.
  if (WaitForSingleObject(progress, 0) == WAIT_TIMEOUT || timerId != kProgressTimer) return;
  percent = StoreGetInt32(storename::kInstallProgressPercent);
  LogMessage(kProgressRead, percent);
  if (percent < 0) {
    ShowFailureView();
  } else if (percent == 100) {
    ShowFinishView();
  } else {
    ShowProgressView();
  }
}

void CVltWelcomeInterfaceCommand::SetCurrentStep(const wchar_t* value) {
  HELEMENT window = FindElementById(rootElement, kInstallWindow);
  step = _wtoi(value);
  if (window == nullptr) return;
  Hl().HTMLayoutSetAttributeByName(window, kCurrentStep, value);
  InvalidateElement(window);
}

bool CVltWelcomeInterfaceCommand::DOMEventsHandlerType::HandleBehaviorEvent(HELEMENT, BEHAVIOR_EVENT_PARAMS& params) {
  HELEMENT target = params.heTarget;
  if (target == nullptr) return false;
  Hl().HTMLayout_UseElement(target);
  switch (params.cmd) {
    case BUTTON_CLICK:
    case HYPERLINK_CLICK:
      command->OnButtonClick(target);
      break;
    case BUTTON_STATE_CHANGED:
      command->OnSendUsageChanged(target);
      break;
    case SELECT_SELECTION_CHANGED:
      command->OnLanguageSelected(target);
      break;
    default:
      break;
  }
  Hl().HTMLayout_UnuseElement(target);
  return false;
}

void CVltWelcomeInterfaceCommand::OnButtonClick(HELEMENT target) {
  LPCWSTR id = nullptr;
  Hl().HTMLayoutGetAttributeByName(target, "id", &id);
  if (id == nullptr) return;
  std::wstring clicked = id;  // the attribute's text may not outlive changes to the page
  auto is = [&clicked](const char* name) {
    std::wstring wide(name, name + strlen(name));
    return _wcsicmp(clicked.c_str(), wide.c_str()) == 0;
  };

  if (clicked == kClose) {
    // The work is not stopped here: the script decides, through the variable.
    if (step == StepWelcome || step == StepInstalling || step == StepMaintenance) {
      StorePut(storename::kSetupCancelled, 1);
    }
    PostMessageW(hwnd, WM_HTMLAYOUT_CLOSE, 0, 0);
    return;
  }
  if (clicked == kMinimize) {
    ShowWindow(hwnd, SW_MINIMIZE);
    return;
  }
  if (step == StepWelcome) {
    if (is(kAgree)) {
      StartWork();
      SetStyleText(rootElement, kAgree, kHidden, true);
      SetStyleText(rootElement, kLanguageSelect, kHidden, true);
      SetCurrentStep(L"2");
      SetTimer(hwnd, kProgressTimer, kProgressTimerPeriod, nullptr);
    } else if (is(kEula)) {
      // Beside the process's own module, whatever the language: the file opens
      // in the user's default program.
      wchar_t path[MAX_PATH + 32] = {};
      GetModuleFileNameW(nullptr, path, MAX_PATH);
      if (wchar_t* slash = wcsrchr(path, L'\\')) *slash = L'\0';
      wcscat_s(path, kEulaPath);
      ShellExecuteW(nullptr, L"open", path, nullptr, nullptr, SW_SHOW);
    }
  }
  if (step == StepMaintenance) {
    bool uninstall = is(kUninstall);
    if (uninstall || is(kRepair)) {
      StorePut(storename::kUserActionInstall, 0);
      StorePut(storename::kUserActionUninstall, uninstall ? 1 : 0);
      StorePut(storename::kUserActionRepair, uninstall ? 0 : 1);
      StorePut(storename::kUserActionUpdate, 0);
      StartWork();
      SetCurrentStep(uninstall ? L"5" : L"6");
      SetTimer(hwnd, kProgressTimer, kProgressTimerPeriod, nullptr);
    }
  }
  // Also in the welcome and the running maintenance steps, where the page
  // normally hides the button.
  if (step != StepMaintenance && step != StepInstalling && is(kFinish)) {
    PostMessageW(hwnd, WM_HTMLAYOUT_CLOSE, 0, 0);
  }
}

void CVltWelcomeInterfaceCommand::StartWork() {
  HANDLE start = reinterpret_cast<HANDLE>(StoreGet(storename::kStartInstallEvent));
  if (start != nullptr) {
    SetEvent(start);
    return;
  }
  HANDLE made = CreateEventW(nullptr, TRUE, TRUE, kStartEventName);
  StorePut(storename::kStartInstallEvent, reinterpret_cast<StoreValue>(made));
}

void CVltWelcomeInterfaceCommand::OnSendUsageChanged(HELEMENT target) {
  LPCWSTR id = nullptr;
  const HtmlayoutLibrary& hl = Hl();
  hl.HTMLayoutGetAttributeByName(target, "id", &id);
  std::wstring wide(kSendUsage, kSendUsage + strlen(kSendUsage));
  if (id == nullptr || wide != id) return;
  VALUE value, yes;
  hl.ValueInit(&value);
  hl.ValueInit(&yes);
  hl.HTMLayoutControlGetValue(target, &value);
  hl.ValueIntDataSet(&yes, 1, T_BOOL, 0);
  // -1 is the library's "equal".
  bool checked = static_cast<int>(hl.ValueCompare(&value, &yes)) == -1;
  StorePut(storename::kSendAur, checked ? 1 : 0);
  hl.HTMLayoutSetAttributeByName(target, "checked", checked ? L"true" : nullptr);
  hl.ValueClear(&value);
  hl.ValueClear(&yes);
}

void CVltWelcomeInterfaceCommand::ShowProgressView() {
  if (percent == shownPercent) return;
  const char* bar = step == StepInstalling     ? kInstallBar
                    : step == StepUninstalling ? kUninstallBar
                    : step == StepRepairing    ? kRepairBar
                                               : nullptr;
  if (bar != nullptr) SetAttribute(rootElement, bar, "value", std::to_wstring(percent).c_str(), true);
  RefreshPage();
  shownPercent = percent;
}

void CVltWelcomeInterfaceCommand::EndWork(const wchar_t* nextStep, bool hideAgree) {
  KillTimer(hwnd, kProgressTimer);
  SetCurrentStep(nextStep);
  SetStyleText(rootElement, kFinish, kShownBlock);
  if (hideAgree) SetStyleText(rootElement, kAgree, kHidden);
  SetAttribute(rootElement, kCloseId, "disabled", nullptr);
}

void CVltWelcomeInterfaceCommand::ShowFinishView() {
  if (step == StepInstalling) {
    EndWork(L"3", true);
    if (isInstalled != 0) {
      auto* resources = StoreGetObject<IResourceManager>(storename::kResourceManager);
      SetInnerText(rootElement, kSuccessBubble, Text(resources, kUninstallSuccessful, kSuccessTextCapacity));
    }
    RefreshPage();
  } else if (step == StepUninstalling || step == StepRepairing) {
    EndWork(step == StepUninstalling ? L"7" : L"8", false);
  }
}

void CVltWelcomeInterfaceCommand::ShowFailureView() {
  EnterCriticalSection(storeLock);
  CString* reason = StoreGetString(storename::kInstallFailReason);
  LeaveCriticalSection(storeLock);
  // The reason is used after the lock is left: its writers have ended their work.
  if (step == StepInstalling) {
    EndWork(L"3", true);
    SetStyleText(rootElement, kSuccessBubble, kBubbleHidden);
    SetStyleText(rootElement, kFailBubble, kBubbleShown);
    if (reason != nullptr && reason->text != nullptr && reason->text[0] != L'\0') {
      // "InstallSuccessful" for a product that was not there before: that is
      // the text this dialog has always shown there.
      auto* resources = StoreGetObject<IResourceManager>(storename::kResourceManager);
      std::wstring text =
          Text(resources, isInstalled != 0 ? kInstallNotSuccessful : kInstallSuccessful, kFailureTextCapacity);
      SetInnerText(rootElement, kFailBubble, text + L" " + reason->text);
    }
    RefreshPage();
  } else if (step == StepUninstalling || step == StepRepairing) {
    if (reason == nullptr) {
      // These views need the reason: without one the process ends, as it always
      // has, but with a line that says why and at a fixed point.
      LogMessage(kNoFailReason, index, kTag);
      TerminateProcess(GetCurrentProcess(), kNullAccess);
    }
    bool uninstall = step == StepUninstalling;
    ShowMaintenanceFailure(uninstall ? kUninstallStatus : kRepairStatus,
                           uninstall ? kUninstallNotSuccessful : kRepairNotSuccessful, uninstall ? L"7" : L"8",
                           reason->text);
  }
}

void CVltWelcomeInterfaceCommand::ShowMaintenanceFailure(const char* prefix, const wchar_t* textId,
                                                         const wchar_t* nextStep, const wchar_t* reason) {
  EndWork(nextStep, false);
  SetStyleText(rootElement, ElementId(prefix, kSuccessSuffix).c_str(), kBubbleHidden);
  auto* resources = StoreGetObject<IResourceManager>(storename::kResourceManager);
  std::wstring text = Text(resources, textId, kFailureTextCapacity);
  SetInnerText(rootElement, ElementId(prefix, kTitleSuffix).c_str(), text);
  std::string fail = ElementId(prefix, kFailSuffix);
  SetStyleText(rootElement, fail.c_str(), kStatusShown);
  // An empty reason still gets its blank here.
  SetInnerText(rootElement, fail.c_str(), text + L" " + (reason != nullptr ? reason : L""));
  RefreshPage();
}

void CVltWelcomeInterfaceCommand::RefreshPage() {
  const HtmlayoutLibrary& hl = Hl();
  CString* path = StoreGetString(storename::kInstallPath);
  installPathText = path != nullptr ? path->text : L"";
  HELEMENT field = FindElementById(rootElement, kInstallPath);
  if (field != nullptr) {
    VALUE value;
    hl.ValueInit(&value);
    hl.ValueStringDataSet(&value, installPathText, static_cast<UINT>(wcslen(installPathText)), 0);
    hl.HTMLayoutControlSetValue(field, &value);
    hl.ValueClear(&value);
    if (HELEMENT browse = FindElementById(rootElement, kBrowseFolders)) {
      hl.HTMLayoutSetElementState(browse, kBrowseFoldersState, 0, TRUE);
    }
    if (HELEMENT text = FindElementById(rootElement, kInstallPathText)) {
      hl.HTMLayoutSetElementInnerText16(text, installPathText, static_cast<UINT>(wcslen(installPathText)));
    }
  }
  if (InterlockedExchange(&g_firstRefresh, 0) == 0) return;
  isInstalled = StoreGetInt32(storename::kIsVeltoInstalled);
  if (isInstalled == 0) return;
  StorePut(storename::kUserActionInstall, 0);
  StorePut(storename::kUserActionUninstall, 0);
  StorePut(storename::kUserActionRepair, 0);
  StorePut(storename::kUserActionUpdate, 0);
  if (step != StepWelcome) return;
  SetCurrentStep(L"4");
  for (const char* id : {kAgree, kFinish, kLanguageSelect, kLanguageCheckbox}) SetStyleText(rootElement, id, kHidden);
}

void CVltWelcomeInterfaceCommand::ReloadPage() {
  const HtmlayoutLibrary& hl = Hl();
  HWND window = windowInfo->hwnd;
  auto* resources = StoreGetObject<IResourceManager>(storename::kResourceManager);
  DressWindow(window, resources);
  SetDialogStyles(window);

  std::vector<wchar_t> baseUrl = PageBaseUrl(kReloadUrlCapacity);
  std::string page;
  if (!ReadPage(resources, &page)) {
    LogMessage(kNoPageOnReload, index, kTag, PagePath().c_str());
  } else {
    hl.HTMLayoutLoadHtmlEx(window, reinterpret_cast<LPCBYTE>(page.data()), static_cast<UINT>(page.size()),
                           baseUrl.data());
  }
  HELEMENT root = nullptr;
  hl.HTMLayoutGetRootElement(window, &root);
  if (root != nullptr) {
    // The old root went with the old page: views that run before the next
    // refresh work on the new one.
    rootElement = root;
    SizeWindowToPage(window, root, false);
    hl.HTMLayoutSetOption(window, kHtmlayoutFontSmoothing, kFontSmoothingValue);
    BuildLanguageList(root);
    FillPageTexts(root, resources);
  }
  PostMessageW(window, WM_HTMLAYOUT_REFRESH, 0, 0);
  ShowWindow(window, SW_SHOW);
  UpdateWindow(window);
}
