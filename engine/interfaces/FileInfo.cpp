#include <cstdlib>
#include <cwchar>
#include <new>

#include "engine/interfaces/Downloads.h"

namespace {

void Replace(wchar_t** field, const wchar_t* text) {
  free(*field);
  *field = text != nullptr ? _wcsdup(text) : nullptr;
}

}  // namespace

CFileInfo::CFileInfo() : platform(new CWinapiInterface()) {
  readyEvent = platform->CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

CFileInfo::~CFileInfo() {
  Replace(&fileName, nullptr);
  Replace(&location, nullptr);
  Replace(&extra, nullptr);
  Replace(&localFolder, nullptr);
  Replace(&checksumFileName, nullptr);
  if (ownsPlatform && platform != nullptr) platform->DeletingDestructor(1);
  platform = nullptr;
}

CFileInfo* CFileInfo::CloneOf(const CFileInfo* source) {
  if (source == nullptr) return nullptr;
  CFileInfo* clone = new (std::nothrow) CFileInfo();
  if (clone == nullptr) return nullptr;
  if (clone->readyEvent != nullptr) clone->platform->CloseHandle(clone->readyEvent);
  clone->readyEvent = source->readyEvent;
  clone->replaceExisting = source->replaceExisting;
  clone->verifyChecksum = source->verifyChecksum;
  clone->reserved = source->reserved;
  clone->reserved2 = source->reserved2;
  clone->sizeInfo = source->sizeInfo;
  Replace(&clone->fileName, source->fileName);
  Replace(&clone->location, source->location);
  Replace(&clone->extra, source->extra);
  Replace(&clone->localFolder, source->localFolder);
  Replace(&clone->checksumFileName, source->checksumFileName);
  return clone;
}

void CFileInfo::SetFileName(const wchar_t* name) {
  Replace(&fileName, name);
  free(checksumFileName);
  checksumFileName = nullptr;
  if (name == nullptr) return;
  size_t length = wcslen(name) + 5;
  checksumFileName = static_cast<wchar_t*>(calloc(length, sizeof(wchar_t)));
  if (checksumFileName != nullptr) swprintf_s(checksumFileName, length, L"%s.md5", name);
}

void CFileInfo::SetLocation(const wchar_t* text) { Replace(&location, text); }

void CFileInfo::SetLocalFolder(const wchar_t* text) { Replace(&localFolder, text); }
