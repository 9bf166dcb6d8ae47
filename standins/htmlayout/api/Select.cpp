// HTMLayoutSelectElements: CSS selectors over the tree.
//
// Waits for the selector engine of the style step (css/): until it is linked
// the search answers HLDOM_OPERATION_FAILED, so that callers notice.
#include <windows.h>

#include "standins/htmlayout/include/htmlayout.h"

extern "C" HLDOM_RESULT HLAPI HTMLayoutSelectElements(HELEMENT he, LPCSTR CSS_selectors,
                                                      HTMLayoutElementCallback* callback, LPVOID param) {
  if (!he) return HLDOM_INVALID_HANDLE;
  if (!CSS_selectors || !callback) return HLDOM_INVALID_PARAMETER;
  return HLDOM_OPERATION_FAILED;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutSelectElementsW(HELEMENT he, LPCWSTR CSS_selectors,
                                                       HTMLayoutElementCallback* callback, LPVOID param) {
  if (!he) return HLDOM_INVALID_HANDLE;
  if (!CSS_selectors || !callback) return HLDOM_INVALID_PARAMETER;
  return HLDOM_OPERATION_FAILED;
}
