#include "engine/interfaces/WinapiInterface.h"

#include <new>

void* CWinapiInterface::DeletingDestructor(unsigned int flags) {
  this->~CWinapiInterface();
  if (flags & 1) ::operator delete(static_cast<void*>(this));
  return this;
}

void CWinapiInterface::InitializeCriticalSection(LPCRITICAL_SECTION section) { ::InitializeCriticalSection(section); }

void CWinapiInterface::DeleteCriticalSection(LPCRITICAL_SECTION section) { ::DeleteCriticalSection(section); }

void CWinapiInterface::EnterCriticalSection(LPCRITICAL_SECTION section) { ::EnterCriticalSection(section); }

void CWinapiInterface::LeaveCriticalSection(LPCRITICAL_SECTION section) { ::LeaveCriticalSection(section); }

HANDLE CWinapiInterface::CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                                      LPCWSTR name) {
  return ::CreateEventW(attributes, manualReset, initialState, name);
}

BOOL CWinapiInterface::SetEvent(HANDLE event) { return ::SetEvent(event); }

BOOL CWinapiInterface::CloseHandle(HANDLE handle) { return ::CloseHandle(handle); }

DWORD CWinapiInterface::GetTickCount() { return ::GetTickCount(); }

int CWinapiInterface::MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH source, int sourceBytes, LPWSTR target,
                                          int targetCharacters) {
  return ::MultiByteToWideChar(codePage, flags, source, sourceBytes, target, targetCharacters);
}
