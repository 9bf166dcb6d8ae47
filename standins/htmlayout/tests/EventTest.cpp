// Events through real window messages at elements' centres: what a window
// handler sees (in order, with targets), the controls' behaviour, states that
// follow the pointer, the dropdown a language picker is built on, and
// behaviours the host supplies.
#include <string>
#include <vector>

#include "standins/htmlayout/tests/ViewWindow.h"
#include "tests/support/Kit.h"

namespace {

std::string Id(HELEMENT he) {
  if (!he) return "null";
  LPCWSTR id = nullptr;
  Hl().HTMLayoutGetAttributeByName(he, "id", &id);
  if (id) return std::string(id, id + wcslen(id));
  return TypeOf(he);
}

// What a window handler saw: mouse downs and ups, and behaviour events, in
// the bubbling phase (the sinking one is checked by the handler that stops).
struct Log {
  std::vector<std::string> lines;
  bool stopMouseDown = false;
  std::string Joined() const {
    std::string all;
    for (const std::string& line : lines) all += (all.empty() ? "" : ", ") + line;
    return all;
  }
};

BOOL CALLBACK Record(LPVOID tag, HELEMENT, UINT group, LPVOID prms) {
  auto* log = static_cast<Log*>(tag);
  if (group == HANDLE_MOUSE) {
    auto* p = static_cast<MOUSE_PARAMS*>(prms);
    if (p->cmd == (MOUSE_DOWN | SINKING) && log->stopMouseDown) return TRUE;
    UINT cmd = p->cmd & ~UINT{HANDLED};  // a control's press: marked on its way up past the control
    if (cmd == MOUSE_DOWN || cmd == MOUSE_UP) {
      log->lines.push_back((cmd == MOUSE_DOWN ? "down " : "up ") + Id(p->target) +
                           ((p->cmd & HANDLED) ? " handled" : ""));
    }
  } else if (group == HANDLE_BEHAVIOR_EVENT) {
    auto* p = static_cast<BEHAVIOR_EVENT_PARAMS*>(prms);
    if (!(p->cmd & SINKING)) log->lines.push_back("event " + std::to_string(p->cmd) + " " + Id(p->heTarget));
  }
  return FALSE;
}

LPARAM CentreOf(HELEMENT he) {
  RECT r{};
  EXPECT_EQ(Hl().HTMLayoutGetElementLocation(he, &r, ROOT_RELATIVE | BORDER_BOX), HLDOM_OK);
  return MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
}

void Click(HWND hwnd, HELEMENT he) {
  LPARAM at = CentreOf(he);
  SendMessageW(hwnd, WM_MOUSEMOVE, 0, at);
  SendMessageW(hwnd, WM_LBUTTONDOWN, MK_LBUTTON, at);
  SendMessageW(hwnd, WM_LBUTTONUP, 0, at);
}

UINT StateOf(HELEMENT he) {
  UINT state = 0;
  Hl().HTMLayoutGetElementState(he, &state);
  return state;
}

const char kPage[] =
    "<style>html,body{margin:0;padding:0} #ok,#off,#link,#box,#field,#lang,#drag{position:absolute}"
    "#ok{left:0;top:0;width:80px;height:30px} #off{left:100px;top:0;width:80px;height:30px}"
    "#link{left:200px;top:0} #box{left:0;top:50px} #field{left:40px;top:50px;width:120px}"
    "#lang{left:200px;top:50px;width:120px} #drag{left:0;top:150px;width:300px;height:20px;behavior:drag-window}"
    "#ok:hover{background:#ff0000} #ok:active{background:#00ff00}</style>"
    "<button id=ok><span id=oklabel>OK</span></button><button id=off disabled>Off</button>"
    "<a id=link href='#more'>more</a><input id=box type=checkbox><input id=field value='C:\\Old'>"
    "<select id=lang><option value=en languageCode=en-US>English<option value=de languageCode=de-DE>Deutsch"
    "</select><div id=drag>caption</div>";

class EventTest : public ::testing::Test {
 protected:
  void SetUp() override {
    window_ = std::make_unique<ViewWindow>(400, 200, 0, true);
    window_->Load(kPage);
    ASSERT_EQ(Hl().HTMLayoutWindowAttachEventHandler(hwnd(), Record, &log_, HANDLE_ALL), HLDOM_OK);
  }
  void TearDown() override { Hl().HTMLayoutWindowDetachEventHandler(hwnd(), Record, &log_); }
  HWND hwnd() const { return window_->hwnd(); }
  HELEMENT Find(const char* selector) const { return window_->Find(selector); }

  std::unique_ptr<ViewWindow> window_;
  Log log_;
};

// The target of a control's event is the control, whatever inside it was hit;
// a disabled one takes no click at all.
TEST_F(EventTest, ClicksReachHandlersWithTheControlAsTarget) {
  const struct {
    const char* selector;
    const char* events;
  } cases[] = {
      {"#oklabel", "down oklabel handled, event 1 ok, up oklabel handled, event 0 ok"},
      {"#off", ""},
      {"#link", "down link handled, up link handled, event 128 link"},
      {"#box", "down box handled, up box handled, event 2 box"},
      {"#drag", "down drag, up drag"},
  };
  for (const auto& c : cases) {
    log_.lines.clear();
    Click(hwnd(), Find(c.selector));
    EXPECT_EQ(log_.Joined(), c.events) << c.selector;
  }
  log_.lines.clear();
  log_.stopMouseDown = true;  // a handler that returns TRUE ends the event: the button never hears of it
  Click(hwnd(), Find("#ok"));
  EXPECT_EQ(log_.Joined(), "up ok handled");
}

TEST_F(EventTest, CheckboxValueAndTextField) {
  HELEMENT box = Find("#box");
  VALUE value, yes;
  Hl().ValueInit(&value);
  Hl().ValueInit(&yes);
  Hl().ValueIntDataSet(&yes, 1, T_BOOL, 0);
  for (int expected : {-1, 0}) {  // checked after the first click, not after the second
    Click(hwnd(), box);
    ASSERT_EQ(Hl().HTMLayoutControlGetValue(box, &value), HLDOM_OK);
    EXPECT_EQ(static_cast<int>(Hl().ValueCompare(&value, &yes)), expected);
    EXPECT_EQ((StateOf(box) & STATE_CHECKED) != 0, expected == -1);
  }

  HELEMENT field = Find("#field");
  Click(hwnd(), field);
  HELEMENT focus = nullptr;
  Hl().HTMLayoutGetFocusElement(hwnd(), &focus);
  EXPECT_EQ(focus, field);
  log_.lines.clear();
  SendMessageW(hwnd(), WM_CHAR, L'x', 0);
  SendMessageW(hwnd(), WM_CHAR, 8, 0);
  SendMessageW(hwnd(), WM_CHAR, 8, 0);
  EXPECT_EQ(log_.Joined(), "event 4 field, event 4 field, event 4 field");
  Hl().ValueStringDataSet(&value, L"D:\\New", 6, 0);
  ASSERT_EQ(Hl().HTMLayoutControlSetValue(field, &value), HLDOM_OK);
  EXPECT_EQ(TextOf(field), L"D:\\New");
  Hl().HTMLayoutControlGetValue(field, &value);
  LPCWSTR chars = nullptr;
  UINT length = 0;
  Hl().ValueStringData(&value, &chars, &length);
  EXPECT_EQ(std::wstring(chars, length), L"D:\\New");
  Hl().ValueClear(&value);
}

// Enter on the focused button clicks it, by key.
TEST_F(EventTest, KeysClickTheFocusedButton) {
  Click(hwnd(), Find("#ok"));
  log_.lines.clear();
  SendMessageW(hwnd(), WM_KEYDOWN, VK_RETURN, 0);
  EXPECT_EQ(log_.Joined(), "event 1 ok, event 0 ok");
}

// The installer's language pick, as its code is written: the event's target,
// its first child, else that child's next sibling, gives the language code.
std::wstring LanguageOfEvent(HELEMENT target) {
  HELEMENT current = Child(target, 0);
  LPCWSTR code = nullptr;
  if (current) Hl().HTMLayoutGetAttributeByName(current, "languageCode", &code);
  if (!code && current) {
    HELEMENT parent = nullptr;
    UINT index = 0;
    Hl().HTMLayoutGetParentElement(current, &parent);
    Hl().HTMLayoutGetElementIndex(current, &index);
    HELEMENT next = Child(parent, index + 1);
    if (next) Hl().HTMLayoutGetAttributeByName(next, "languageCode", &code);
  }
  return code ? code : L"";
}

struct Picked {
  HELEMENT target = nullptr;
  int events = 0;
};

BOOL CALLBACK OnSelection(LPVOID tag, HELEMENT, UINT group, LPVOID prms) {
  auto* p = static_cast<BEHAVIOR_EVENT_PARAMS*>(prms);
  if (group == HANDLE_BEHAVIOR_EVENT && p->cmd == SELECT_SELECTION_CHANGED) {
    static_cast<Picked*>(tag)->target = p->heTarget;
    ++static_cast<Picked*>(tag)->events;
  }
  return FALSE;
}

TEST_F(EventTest, DropdownPicksLikeTheLanguageSelect) {
  HELEMENT select = Find("#lang");
  ASSERT_EQ(ChildCount(select), 3u);
  EXPECT_EQ(TypeOf(Child(select, 0)), "caption");
  EXPECT_EQ(TypeOf(Child(select, 1)), "button");
  HELEMENT list = Child(select, 2);
  ASSERT_EQ(ChildCount(list), 2u);
  EXPECT_EQ(TextOf(Child(select, 0)), L"English");
  Picked picked;
  Hl().HTMLayoutWindowAttachEventHandler(hwnd(), OnSelection, &picked, HANDLE_BEHAVIOR_EVENT);

  Click(hwnd(), Child(select, 1));
  ASSERT_TRUE(StateOf(select) & STATE_EXPANDED) << "a click opens the list";
  Click(hwnd(), Child(list, 1));
  EXPECT_FALSE(StateOf(select) & STATE_EXPANDED) << "a pick closes it";
  EXPECT_EQ(picked.events, 1);
  EXPECT_EQ(picked.target, select);
  EXPECT_EQ(LanguageOfEvent(picked.target), L"de-DE");
  EXPECT_TRUE(StateOf(Child(list, 1)) & STATE_CURRENT);
  EXPECT_EQ(TextOf(Child(select, 0)), L"Deutsch");

  // Escape and a click outside close without a pick; an empty "disabled" on
  // the option list blocks picks; a value set by the host sends nothing.
  Click(hwnd(), Child(select, 0));
  SendMessageW(hwnd(), WM_KEYDOWN, VK_ESCAPE, 0);
  EXPECT_FALSE(StateOf(select) & STATE_EXPANDED);
  Click(hwnd(), Child(select, 0));
  Click(hwnd(), Find("#drag"));
  EXPECT_FALSE(StateOf(select) & STATE_EXPANDED);
  Hl().HTMLayoutSetAttributeByName(list, "disabled", L"");
  Click(hwnd(), Child(select, 0));
  Click(hwnd(), Child(list, 0));
  VALUE value;
  Hl().ValueInit(&value);
  Hl().ValueStringDataSet(&value, L"en", 2, 0);
  Hl().HTMLayoutControlSetValue(select, &value);
  Hl().ValueClear(&value);
  EXPECT_EQ(picked.events, 1);
  EXPECT_EQ(TextOf(Child(select, 0)), L"English");
  Hl().HTMLayoutWindowDetachEventHandler(hwnd(), OnSelection, &picked);
}

TEST_F(EventTest, HoverAndActiveFollowThePointerAndRepaint) {
  HELEMENT ok = Find("#ok");
  SendMessageW(hwnd(), WM_MOUSEMOVE, 0, CentreOf(ok));
  EXPECT_TRUE(StateOf(ok) & STATE_HOVER);
  EXPECT_EQ(Printed(hwnd()).At(2, 2) & 0xFFFFFF, 0xFF0000u);
  SendMessageW(hwnd(), WM_LBUTTONDOWN, MK_LBUTTON, CentreOf(ok));
  EXPECT_EQ(Printed(hwnd()).At(2, 2) & 0xFFFFFF, 0x00FF00u) << ":active while the button is down";
  SendMessageW(hwnd(), WM_LBUTTONUP, 0, CentreOf(ok));
  EXPECT_EQ(Printed(hwnd()).At(2, 2) & 0xFFFFFF, 0xFF0000u);
  SendMessageW(hwnd(), WM_MOUSEMOVE, 0, MAKELPARAM(390, 190));
  EXPECT_FALSE(StateOf(ok) & STATE_HOVER);
  EXPECT_NE(Printed(hwnd()).At(2, 2) & 0xFFFFFF, 0xFF0000u);
}

// A behaviour the library does not know is the host's: it is asked for it by
// name, and the procedure it gives hears the element's mouse events.
struct Behaviour {
  std::string asked;
  HELEMENT element = nullptr;
  std::vector<UINT> commands;
};

BOOL CALLBACK DragProc(LPVOID tag, HELEMENT he, UINT group, LPVOID prms) {
  auto* b = static_cast<Behaviour*>(tag);
  if (group == HANDLE_MOUSE) {
    b->element = he;
    b->commands.push_back(static_cast<MOUSE_PARAMS*>(prms)->cmd);
  }
  return FALSE;
}

LRESULT CALLBACK AttachBehaviour(UINT msg, WPARAM, LPARAM lParam, LPVOID param) {
  auto* header = reinterpret_cast<NMHDR*>(lParam);
  if (msg != WM_NOTIFY || header->code != HLN_ATTACH_BEHAVIOR) return 0;
  auto* request = reinterpret_cast<NMHL_ATTACH_BEHAVIOR*>(lParam);
  auto* b = static_cast<Behaviour*>(param);
  b->asked = request->behaviorName;
  request->elementProc = DragProc;
  request->elementTag = b;
  request->elementEvents = HANDLE_MOUSE;
  return 0;
}

TEST_F(EventTest, UnknownBehaviourIsTheHosts) {
  Behaviour behaviour;
  Hl().HTMLayoutSetCallback(hwnd(), AttachBehaviour, &behaviour);
  HELEMENT drag = Find("#drag");
  SendMessageW(hwnd(), WM_LBUTTONDOWN, MK_LBUTTON, CentreOf(drag));
  SendMessageW(hwnd(), WM_LBUTTONUP, 0, CentreOf(drag));
  EXPECT_EQ(behaviour.asked, "drag-window");
  EXPECT_EQ(behaviour.element, drag);
  ASSERT_GE(behaviour.commands.size(), 2u);
  EXPECT_EQ(behaviour.commands[0], static_cast<UINT>(MOUSE_DOWN | SINKING));
  EXPECT_EQ(behaviour.commands[1], static_cast<UINT>(MOUSE_DOWN));
  HWND root = nullptr;
  Hl().HTMLayoutGetElementHwnd(drag, &root, TRUE);
  EXPECT_EQ(root, hwnd());
}

}  // namespace
