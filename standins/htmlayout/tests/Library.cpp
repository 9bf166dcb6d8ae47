#include "standins/htmlayout/tests/Library.h"

#include "tests/support/Kit.h"

const Library& Hl() {
  static const Library* library = [] {
    auto* bound = new Library();
    std::wstring path = ProgramFolder() + L"htmlayout.dll";
    HMODULE module = LoadLibraryW(path.c_str());
    if (!module) {
      ADD_FAILURE() << "cannot load " << Narrow(path) << ": " << GetLastError();
      return bound;
    }
#define HL_FUNCTION(name)                                                              \
  bound->name = reinterpret_cast<decltype(&::name)>(reinterpret_cast<void*>(GetProcAddress(module, #name)));    \
  if (!bound->name) ADD_FAILURE() << "htmlayout.dll does not export " #name;
#include "standins/htmlayout/tests/Functions.inc"
#undef HL_FUNCTION
    return bound;
  }();
  return *library;
}

TestWindow::TestWindow() {
  static ATOM atom = [] {
    WNDCLASSW wc{};
    wc.lpfnWndProc = DefWindowProcW;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = L"htmlayout_test_window";
    return RegisterClassW(&wc);
  }();
  hwnd_ = CreateWindowExW(0, MAKEINTATOM(atom), L"test", WS_POPUP, 0, 0, 400, 300, nullptr, nullptr,
                          GetModuleHandleW(nullptr), nullptr);
  EXPECT_NE(hwnd_, nullptr) << "CreateWindowExW: " << GetLastError();
}

TestWindow::~TestWindow() { DestroyWindow(hwnd_); }

HELEMENT LoadPage(HWND hwnd, const std::string& html, const wchar_t* baseUrl) {
  EXPECT_TRUE(Hl().HTMLayoutLoadHtmlEx(hwnd, reinterpret_cast<LPCBYTE>(html.data()), static_cast<UINT>(html.size()),
                                       baseUrl));
  HELEMENT root = nullptr;
  EXPECT_EQ(Hl().HTMLayoutGetRootElement(hwnd, &root), HLDOM_OK);
  return root;
}

namespace {
void CALLBACK Append(LPCBYTE utf8, UINT length, LPVOID param) {
  static_cast<std::string*>(param)->append(reinterpret_cast<const char*>(utf8), length);
}
}  // namespace

std::string HtmlOf(HELEMENT he, bool outer) {
  std::string html;
  EXPECT_EQ(Hl().HTMLayoutGetElementHtmlCB(he, outer, Append, &html), HLDOM_OK);
  return html;
}

std::string TypeOf(HELEMENT he) {
  LPCSTR type = nullptr;
  EXPECT_EQ(Hl().HTMLayoutGetElementType(he, &type), HLDOM_OK);
  return type ? type : "";
}

std::wstring TextOf(HELEMENT he) {
  LPWSTR text = nullptr;
  EXPECT_EQ(Hl().HTMLayoutGetElementInnerText16(he, &text), HLDOM_OK);
  return text ? text : L"";
}

HELEMENT Child(HELEMENT he, UINT n) {
  HELEMENT child = nullptr;
  EXPECT_EQ(Hl().HTMLayoutGetNthChild(he, n, &child), HLDOM_OK);
  return child;
}

UINT ChildCount(HELEMENT he) {
  UINT count = 0;
  EXPECT_EQ(Hl().HTMLayoutGetChildrenCount(he, &count), HLDOM_OK);
  return count;
}

HELEMENT BodyOf(HWND hwnd) {
  HELEMENT root = nullptr;
  Hl().HTMLayoutGetRootElement(hwnd, &root);
  UINT count = ChildCount(root);
  return count ? Child(root, count - 1) : nullptr;
}
