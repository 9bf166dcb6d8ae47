// A picture of a window as the user sees it, written as PNG: what the autopilot
// leaves of each step of the installer's dialog.
//
// The screen is read first (BitBlt from the screen's DC over the window's
// rectangle), so a layered window comes with what shows through its see-through
// corners, as a user sees it. A screen that gives nothing useful (one colour
// all over: a window not yet on the X server, no display at all) is replaced by
// the window's own painting of its client area (WM_PRINTCLIENT into a DIB).
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

struct WindowPicture {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> pixels;  // top-down BGRA, opaque
  bool fromScreen = false;       // false: the window's own painting

  bool Empty() const { return pixels.empty(); }
};

// The window's rectangle as the screen shows it, or its client area as it
// paints itself when the screen shows nothing of it. Empty when neither works.
// Any thread; the window's thread must be pumping for the fallback (it is
// given two seconds).
WindowPicture TakeWindowPicture(HWND hwnd);

// The part of the picture inside area (in the picture's own pixels), or the
// whole picture when area does not lie within it.
WindowPicture Cropped(const WindowPicture& picture, const RECT& area);

// Writes the picture as a PNG file through WIC (COM must be initialised on the
// calling thread). False with the HRESULT of the call that failed.
bool WritePng(const std::wstring& path, const WindowPicture& picture, HRESULT* failure);
