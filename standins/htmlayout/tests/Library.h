// The DLL under test, loaded by full path from beside the test program, its
// functions bound by name as a host built against the published SDK binds them.
#pragma once

#include <windows.h>

#include <string>

#include "standins/htmlayout/include/htmlayout.h"

struct Library {
#define HL_FUNCTION(name) decltype(&::name) name = nullptr;
#include "standins/htmlayout/tests/Functions.inc"
#undef HL_FUNCTION
};

// Loaded once; fails the test when the DLL or a function is missing.
const Library& Hl();

// A hidden top-level window of the test's thread to load pages into.
class TestWindow {
 public:
  TestWindow();
  ~TestWindow();
  HWND hwnd() const { return hwnd_; }

 private:
  HWND hwnd_;
};

// Loads UTF-8 markup into the window; returns the root.
HELEMENT LoadPage(HWND hwnd, const std::string& html, const wchar_t* baseUrl = nullptr);
// Outer (or inner) HTML of an element, UTF-8.
std::string HtmlOf(HELEMENT he, bool outer = true);
std::string TypeOf(HELEMENT he);
std::wstring TextOf(HELEMENT he);
HELEMENT Child(HELEMENT he, UINT n);
UINT ChildCount(HELEMENT he);
// The body of the window's page.
HELEMENT BodyOf(HWND hwnd);
