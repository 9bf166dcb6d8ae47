#include <cstdlib>
#include <cwchar>
#include <new>

#include "engine/interfaces/Downloads.h"

CFileInfo::CFileInfo() : platform(new CWinapiInterface()) {
  readyEvent = platform->CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

CFileInfo::~CFileInfo() {
  if (ownsPlatform && platform != nullptr) platform->DeletingDestructor(1);
  platform = nullptr;
}

CFileInfo* CFileInfo::CloneOf(const CFileInfo* source) {
  if (source == nullptr) return nullptr;
  CFileInfo* clone = new (std::nothrow) CFileInfo();
  if (clone == nullptr) return nullptr;
  // The clone waits on the source's event; the one its constructor made goes.
  ScopedKernelHandle own(clone->readyEvent);
  clone->readyEvent = source->readyEvent;
  clone->replaceExisting = source->replaceExisting;
  clone->verifyChecksum = source->verifyChecksum;
  clone->reserved = source->reserved;
  clone->reserved2 = source->reserved2;
  clone->sizeInfo = source->sizeInfo;
  clone->fileName = CopyText(source->fileName.Get());
  clone->location = CopyText(source->location.Get());
  clone->extra = CopyText(source->extra.Get());
  clone->localFolder = CopyText(source->localFolder.Get());
  clone->checksumFileName = CopyText(source->checksumFileName.Get());
  return clone;
}

void CFileInfo::SetFileName(const wchar_t* name) {
  fileName = CopyText(name);
  checksumFileName.Reset();
  if (name == nullptr) return;
  size_t length = wcslen(name) + 5;
  checksumFileName.Reset(static_cast<wchar_t*>(calloc(length, sizeof(wchar_t))));
  if (checksumFileName) swprintf_s(checksumFileName.Get(), length, L"%s.md5", name);
}

void CFileInfo::SetLocation(const wchar_t* text) { location = CopyText(text); }

void CFileInfo::SetLocalFolder(const wchar_t* text) { localFolder = CopyText(text); }
