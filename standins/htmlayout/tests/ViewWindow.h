// Windows that show a page as a host shows one: their procedure hands every
// message to HTMLayoutProcND first. Helpers to find elements and read boxes.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "standins/htmlayout/tests/Library.h"

class ViewWindow {
 public:
  // A popup at the screen's top left, shown unless hidden.
  ViewWindow(int width, int height, DWORD exStyle = 0, bool shown = false);
  ~ViewWindow();
  HWND hwnd() const { return hwnd_; }
  HELEMENT Load(const std::string& html, const wchar_t* baseUrl = nullptr);
  // The first element that matches a selector, or null.
  HELEMENT Find(const char* selector) const;

 private:
  HWND hwnd_;
};

// "l,t,r,b" of an element's area, as HTMLayoutGetElementLocation gives it.
std::string Where(HELEMENT he, UINT areas);
// Runs the thread's messages for a while: windows map and paint.
void Pump(DWORD milliseconds);

// A captured picture of the window: BGRA, top-down.
struct Shot {
  int width = 0, height = 0;
  std::vector<uint32_t> pixels;
  uint32_t At(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x]; }
};
// What the screen shows where the window is.
Shot FromScreen(HWND hwnd);
// What the window paints into a DC of its own (WM_PRINTCLIENT).
Shot Printed(HWND hwnd);
// A PNG of BGRA pixels (straight alpha), made with WIC.
std::string EncodePng(int width, int height, const std::vector<uint32_t>& pixels);
