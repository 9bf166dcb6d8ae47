// CWinapiInterface: a table of platform calls without data, so that its owners
// reach these calls through one object (and tests can stand in for them). The
// slots keep their documented order; slot 0 is the deleting destructor.
#pragma once

#include <windows.h>

class CWinapiInterface {
 public:
  CWinapiInterface() = default;

  virtual void* DeletingDestructor(unsigned int flags);  // slot 0
  virtual void InitializeCriticalSection(LPCRITICAL_SECTION section);
  virtual void DeleteCriticalSection(LPCRITICAL_SECTION section);
  virtual void EnterCriticalSection(LPCRITICAL_SECTION section);
  virtual void LeaveCriticalSection(LPCRITICAL_SECTION section);
  virtual HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState, LPCWSTR name);
  virtual BOOL SetEvent(HANDLE event);
  virtual BOOL CloseHandle(HANDLE handle);
  virtual DWORD GetTickCount();
  virtual int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH source, int sourceBytes, LPWSTR target,
                                  int targetCharacters);

 protected:
  ~CWinapiInterface() = default;
};
