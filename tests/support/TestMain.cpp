// Entry of the test programs: COM for MSXML, the library's store link bound to
// this program, then the tests.
#include <windows.h>
#include <objbase.h>

#include <gtest/gtest.h>

#include "engine/Store.h"

int main(int argc, char** argv) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  // The test program links the library's code as well as loading the library:
  // that copy binds to this program's store the way the library entry does.
  BindEngine();
  ::testing::InitGoogleTest(&argc, argv);
  int result = RUN_ALL_TESTS();
  CoUninitialize();
  return result;
}
