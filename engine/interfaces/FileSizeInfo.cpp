#include <new>

#include "engine/interfaces/Downloads.h"

CFileSizeInfo::CFileSizeInfo() : platform(new CWinapiInterface()) {
  progressEvent.Reset(platform->CreateEventW(nullptr, FALSE, FALSE, nullptr));
  platform->InitializeCriticalSection(&statusLock);
}

CFileSizeInfo::~CFileSizeInfo() {
  platform->DeleteCriticalSection(&statusLock);
  if (ownsPlatform && platform != nullptr) platform->DeletingDestructor(1);
  platform = nullptr;
}

uint32_t CFileSizeInfo::ReadStatus() {
  platform->EnterCriticalSection(&statusLock);
  uint32_t value = status;
  platform->LeaveCriticalSection(&statusLock);
  return value;
}

void CFileSizeInfo::WriteStatus(uint32_t value) {
  platform->EnterCriticalSection(&statusLock);
  status = value;
  platform->LeaveCriticalSection(&statusLock);
}
