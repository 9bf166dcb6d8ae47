// The library entry. It binds the engine's store and does nothing else: no work
// and no threads under the loader lock.
#include <windows.h>

#include "engine/Store.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      // Without the engine there is no store, and no command could run.
      return BindEngine() ? TRUE : FALSE;
    case DLL_PROCESS_DETACH:
      UnbindEngine();
      return TRUE;
    default:
      return TRUE;
  }
}
