#include "host/Autopilot.h"

#include <objbase.h>

#include <cstdio>
#include <cwchar>

#include "engine/RuntimeLibrary.h"
#include "host/HostServices.h"
#include "host/HostTexts.h"
#include "host/WindowPicture.h"
#include "standins/htmlayout/include/htmlayout.h"

namespace {

const DWORD kPollMs = 50;
// A step's face is laid out and painted well within this after current_step
// changed; a picture taken earlier may still show the step before.
const ULONGLONG kSettleMs = 300;
// A bar's new value reaches the screen at the window's next paint.
const ULONGLONG kBarSettleMs = 100;
const int kBarPercentPictured = 40;

// The functions of htmlayout.dll the pilot calls, bound by name.
struct PilotLibrary {
  decltype(&::HTMLayoutGetRootElement) GetRoot = nullptr;
  decltype(&::HTMLayoutSelectElements) Select = nullptr;
  decltype(&::HTMLayout_UseElement) Use = nullptr;
  decltype(&::HTMLayout_UnuseElement) Unuse = nullptr;
  decltype(&::HTMLayoutGetParentElement) Parent = nullptr;
  decltype(&::HTMLayoutGetAttributeByName) Attribute = nullptr;
  decltype(&::HTMLayoutGetElementState) State = nullptr;
  decltype(&::HTMLayoutGetElementLocation) Location = nullptr;

  bool Bind(HMODULE module) {
    return BindExport(module, "HTMLayoutGetRootElement", &GetRoot) &&
           BindExport(module, "HTMLayoutSelectElements", &Select) &&
           BindExport(module, "HTMLayout_UseElement", &Use) && BindExport(module, "HTMLayout_UnuseElement", &Unuse) &&
           BindExport(module, "HTMLayoutGetParentElement", &Parent) &&
           BindExport(module, "HTMLayoutGetAttributeByName", &Attribute) &&
           BindExport(module, "HTMLayoutGetElementState", &State) &&
           BindExport(module, "HTMLayoutGetElementLocation", &Location);
  }
};

// An element the pilot holds while it reads it: the window's thread may replace
// the page (a language change) or close the dialog meanwhile, and a held
// element stays valid until it is let go.
class HeldElement {
 public:
  HeldElement() = default;
  HeldElement(const PilotLibrary* library, HELEMENT element) : library_(library), element_(element) {}
  ~HeldElement() {
    if (element_ != nullptr) library_->Unuse(element_);
  }
  HeldElement(HeldElement&& other) noexcept : library_(other.library_), element_(other.element_) {
    other.element_ = nullptr;
  }
  HeldElement(const HeldElement&) = delete;
  HeldElement& operator=(const HeldElement&) = delete;

  HELEMENT Get() const { return element_; }
  explicit operator bool() const { return element_ != nullptr; }

 private:
  const PilotLibrary* library_ = nullptr;
  HELEMENT element_ = nullptr;
};

void PrintLine(const std::wstring& text) {
  std::string line = Utf8(hosttext::kPilotPrefix + text + L"\n");
  fwrite(line.data(), 1, line.size(), stderr);
  fflush(stderr);
}

bool IsRunningStep(int step) { return step == 2 || step == 5 || step == 6; }

// The bar each running step moves.
const char* BarOf(int step) {
  switch (step) {
    case 2: return "downloadProgressBar";
    case 5: return "UninstallProgressBar";
    case 6: return "RepairProgressBar";
    default: return nullptr;
  }
}

struct DialogSearch {
  DWORD process;
  HWND found;
};

BOOL CALLBACK OnTopLevelWindow(HWND hwnd, LPARAM parameter) {
  auto* search = reinterpret_cast<DialogSearch*>(parameter);
  DWORD process = 0;
  GetWindowThreadProcessId(hwnd, &process);
  if (process != search->process || !IsWindowVisible(hwnd)) return TRUE;
  wchar_t name[128] = {};
  GetClassNameW(hwnd, name, 128);
  if (wcsncmp(name, hosttext::kDialogClassPrefix, wcslen(hosttext::kDialogClassPrefix)) != 0) return TRUE;
  search->found = hwnd;
  return FALSE;
}

HWND FindDialog() {
  DialogSearch search{GetCurrentProcessId(), nullptr};
  EnumWindows(OnTopLevelWindow, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

}  // namespace

struct Autopilot::Pilot {
  AutopilotPlan plan;
  ScopedModule module;
  PilotLibrary hl;
  ScopedKernelHandle stop;

  HWND window = nullptr;
  // Clicks.
  size_t nextClick = 0;
  ULONGLONG clickDeadline = 0;
  RECT lastPlace{};  // where the next click's element was at the last look
  // Pictures: the step shown, since when, whether its picture is written, and
  // for a running step its last sight and since when its bar shows enough.
  int step = 0;
  ULONGLONG stepSince = 0;
  bool pictured = true;
  WindowPicture lastSight;
  ULONGLONG barSince = 0;

  void Run();
  void Look();

  HeldElement Root();
  HeldElement ById(HELEMENT root, const std::string& id);
  std::wstring Attribute(HELEMENT element, const char* name);
  bool Clickable(HELEMENT element, RECT* place);
  void Click(const RECT& place);
  bool TryClick(HELEMENT root, const std::wstring& id, ULONGLONG now);
  void GiveUpClicks(HELEMENT root);

  WindowPicture Picture(HELEMENT root);
  int StepOf(HELEMENT root);
  int BarPercent(HELEMENT root, int shownStep);
  void WatchStep(HELEMENT root, ULONGLONG now);
  void Write(int shownStep, const WindowPicture& picture);
  void StepGone();
};

HeldElement Autopilot::Pilot::Root() {
  HELEMENT root = nullptr;
  if (hl.GetRoot(window, &root) != HLDOM_OK || root == nullptr) return {};
  // A page replaced between the two calls leaves a root that is gone: the
  // library answers the hold of it with an error, and the look is skipped.
  if (hl.Use(root) != HLDOM_OK) return {};
  return HeldElement(&hl, root);
}

HeldElement Autopilot::Pilot::ById(HELEMENT root, const std::string& id) {
  struct Found {
    const PilotLibrary* hl;
    HELEMENT element;
  } found{&hl, nullptr};
  std::string selector = "[id=\"" + id + "\"]";
  hl.Select(
      root, selector.c_str(),
      [](HELEMENT element, LPVOID parameter) -> BOOL {
        auto* found = static_cast<Found*>(parameter);
        // Held by the library for the call: held by the pilot from here on.
        if (found->hl->Use(element) == HLDOM_OK) found->element = element;
        return TRUE;
      },
      &found);
  return HeldElement(&hl, found.element);
}

std::wstring Autopilot::Pilot::Attribute(HELEMENT element, const char* name) {
  LPCWSTR value = nullptr;
  if (element == nullptr || hl.Attribute(element, name, &value) != HLDOM_OK || value == nullptr) return {};
  return value;
}

// Shown: the element has a box inside the window (display: none leaves none);
// enabled: neither it nor an element around it is disabled, by state or by
// attribute, as the library refuses clicks on both.
bool Autopilot::Pilot::Clickable(HELEMENT element, RECT* place) {
  RECT box{};
  if (hl.Location(element, &box, ROOT_RELATIVE | BORDER_BOX) != HLDOM_OK) return false;
  RECT client{};
  GetClientRect(window, &client);
  POINT centre{(box.left + box.right) / 2, (box.top + box.bottom) / 2};
  if (box.right <= box.left || box.bottom <= box.top || !PtInRect(&client, centre)) return false;
  for (HELEMENT at = element; at != nullptr;) {
    UINT state = 0;
    LPCWSTR disabled = nullptr;
    if (hl.State(at, &state) == HLDOM_OK && (state & STATE_DISABLED) != 0) return false;
    if (hl.Attribute(at, "disabled", &disabled) == HLDOM_OK && disabled != nullptr) return false;
    HELEMENT parent = nullptr;
    if (hl.Parent(at, &parent) != HLDOM_OK) break;
    at = parent;
  }
  *place = box;
  return true;
}

// The messages a user's click sends: the pointer comes over the element, the
// main button goes down and up there.
void Autopilot::Pilot::Click(const RECT& place) {
  LPARAM at = MAKELPARAM((place.left + place.right) / 2, (place.top + place.bottom) / 2);
  PostMessageW(window, WM_MOUSEMOVE, 0, at);
  PostMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, at);
  PostMessageW(window, WM_LBUTTONUP, 0, at);
}

// Clicks the element once it has stood in the same place for two looks: a
// face that has just come up may still be laid out anew.
bool Autopilot::Pilot::TryClick(HELEMENT root, const std::wstring& id, ULONGLONG now) {
  HeldElement element = ById(root, std::string(id.begin(), id.end()));
  RECT place{};
  if (!element || !Clickable(element.Get(), &place)) {
    lastPlace = RECT{};
    return false;
  }
  if (!EqualRect(&place, &lastPlace)) {
    lastPlace = place;
    return false;
  }
  Click(place);
  PrintLine(hosttext::kPilotClicked + id + L"' in step " + std::to_wstring(StepOf(root)));
  lastPlace = RECT{};
  clickDeadline = now + plan.clickWaitMs;
  return true;
}

void Autopilot::Pilot::GiveUpClicks(HELEMENT root) {
  std::wstring line = L"'" + plan.clicks[nextClick] + hosttext::kPilotTimedOut +
                      std::to_wstring(plan.clickWaitMs / 1000) + L" s";
  nextClick = plan.clicks.size();
  HeldElement close = root != nullptr ? ById(root, hosttext::kPilotCloseId) : HeldElement();
  RECT place{};
  if (close && Clickable(close.Get(), &place)) {
    PrintLine(line + hosttext::kPilotClosing);
    Click(place);
  } else {
    PrintLine(line + hosttext::kPilotNoClose);
  }
}

int Autopilot::Pilot::StepOf(HELEMENT root) {
  HeldElement page = ById(root, "install_window");
  return page ? _wtoi(Attribute(page.Get(), "current_step").c_str()) : 0;
}

// The dialog as the screen shows it: the box of #install_window, as a page may
// leave see-through room around it in its window.
WindowPicture Autopilot::Pilot::Picture(HELEMENT root) {
  WindowPicture picture = TakeWindowPicture(window);
  HeldElement page = ById(root, "install_window");
  RECT box{}, frame{};
  POINT client{0, 0};
  if (picture.Empty() || !page || hl.Location(page.Get(), &box, ROOT_RELATIVE | BORDER_BOX) != HLDOM_OK) {
    return picture;
  }
  // A screen picture starts at the window's corner, a painted one at the client's.
  if (picture.fromScreen && GetWindowRect(window, &frame) && ClientToScreen(window, &client)) {
    OffsetRect(&box, client.x - frame.left, client.y - frame.top);
  }
  return Cropped(picture, box);
}

int Autopilot::Pilot::BarPercent(HELEMENT root, int shownStep) {
  const char* id = BarOf(shownStep);
  HeldElement bar = id != nullptr ? ById(root, id) : HeldElement();
  if (!bar) return 0;
  int value = _wtoi(Attribute(bar.Get(), "value").c_str());
  std::wstring max = Attribute(bar.Get(), "max");
  int most = max.empty() ? 100 : _wtoi(max.c_str());
  return most > 0 ? value * 100 / most : 0;
}

void Autopilot::Pilot::Write(int shownStep, const WindowPicture& picture) {
  pictured = true;
  std::wstring name = L"step" + std::to_wstring(shownStep) + L".png";
  std::wstring path = plan.screens + name;
  HRESULT failure = S_OK;
  if (picture.Empty()) {
    PrintLine(hosttext::kPilotNoPicture + std::to_wstring(shownStep) + hosttext::kPilotNoSight);
  } else if (!WritePng(path, picture, &failure)) {
    wchar_t code[16];
    swprintf_s(code, L"0x%08lX", static_cast<unsigned long>(failure));
    PrintLine(hosttext::kPilotNoPicture + std::to_wstring(shownStep) + hosttext::kPilotCannotWrite + path + L"' (" +
              code + L")");
  } else {
    PrintLine(hosttext::kPilotStep + std::to_wstring(shownStep) + L": " + path +
              (picture.fromScreen ? L"" : hosttext::kPilotPainted));
  }
}

// A running step that ended before its bar reached the mark is pictured as it
// was last seen.
void Autopilot::Pilot::StepGone() {
  if (!pictured && IsRunningStep(step) && !lastSight.Empty()) Write(step, lastSight);
  pictured = true;
}

void Autopilot::Pilot::WatchStep(HELEMENT root, ULONGLONG now) {
  int shown = StepOf(root);
  if (shown != step) {
    StepGone();
    step = shown;
    stepSince = now;
    pictured = shown == 0;
    lastSight = WindowPicture();
    barSince = 0;
  }
  if (pictured) return;
  if (!IsRunningStep(step)) {
    if (now - stepSince >= kSettleMs) Write(step, Picture(root));
    return;
  }
  // Fast work may end a running step within a tenth of a second: it is seen from
  // the first look after the one that found it, when its face has been painted.
  if (now - stepSince < kPollMs) return;
  // The bar is read before the screen, so the sight is at least as new as the value.
  bool enough = BarPercent(root, step) >= kBarPercentPictured;
  lastSight = Picture(root);
  if (!enough) return;
  if (barSince == 0) barSince = now;
  if (now - barSince >= kBarSettleMs) Write(step, lastSight);
}

void Autopilot::Pilot::Look() {
  ULONGLONG now = GetTickCount64();
  if (window != nullptr && (!IsWindow(window) || !IsWindowVisible(window))) {
    window = nullptr;
    StepGone();
    step = 0;
  }
  if (window == nullptr) window = FindDialog();
  HeldElement root = window != nullptr ? Root() : HeldElement();
  if (root && !plan.screens.empty()) WatchStep(root.Get(), now);
  if (nextClick >= plan.clicks.size()) return;
  // A click waits for the picture of the step it would change.
  bool pictureDue = !plan.screens.empty() && !pictured;
  if (root && !pictureDue && TryClick(root.Get(), plan.clicks[nextClick], now)) {
    ++nextClick;
  } else if (now > clickDeadline) {
    GiveUpClicks(root.Get());
  }
}

void Autopilot::Pilot::Run() {
  HRESULT com = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  clickDeadline = GetTickCount64() + plan.clickWaitMs;
  while (WaitForSingleObject(stop.Get(), kPollMs) == WAIT_TIMEOUT) Look();
  StepGone();
  for (; nextClick < plan.clicks.size(); ++nextClick) PrintLine(hosttext::kPilotNotClicked + plan.clicks[nextClick]);
  if (SUCCEEDED(com)) CoUninitialize();
}

Autopilot::Autopilot() = default;

Autopilot::~Autopilot() { Stop(); }

bool Autopilot::Start(const AutopilotPlan& plan, const std::wstring& libraryFolder, std::wstring* why) {
  auto pilot = std::make_unique<Pilot>();
  pilot->plan = plan;
  if (!pilot->plan.screens.empty() && pilot->plan.screens.back() != L'\\') pilot->plan.screens += L'\\';
  // The module the plug-in binds, by the same full path: one module, one set of
  // windows and documents.
  std::wstring path = libraryFolder + L"htmlayout.dll";
  pilot->module.Reset(LoadLibraryAt(path));
  DWORD error = GetLastError();
  if (!pilot->module || !pilot->hl.Bind(pilot->module.Get())) {
    if (pilot->module) error = ERROR_PROC_NOT_FOUND;
    *why = hosttext::kPilotNoLibrary + path + L" cannot be bound (error " + std::to_wstring(error) + L")";
    return false;
  }
  if (!plan.screens.empty()) CreateDirectoryW(pilot->plan.screens.c_str(), nullptr);
  pilot->stop.Reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  thread_.Reset(CreateThread(
      nullptr, 0,
      [](LPVOID parameter) -> DWORD {
        static_cast<Pilot*>(parameter)->Run();
        return 0;
      },
      pilot.get(), 0, nullptr));
  if (!thread_) {
    *why = hosttext::kPilotNoLibrary + std::wstring(L"no thread (error ") + std::to_wstring(GetLastError()) + L")";
    return false;
  }
  pilot_ = std::move(pilot);
  return true;
}

void Autopilot::Stop() {
  if (!pilot_) return;
  SetEvent(pilot_->stop.Get());
  WaitForSingleObject(thread_.Get(), INFINITE);
  thread_.Reset();
  pilot_.reset();
}
