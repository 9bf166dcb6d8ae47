#include "diagnostics/FileResourceManager.h"

#include <shlwapi.h>

#include <cstdlib>
#include <cwchar>
#include <stdexcept>

#include "diagnostics/DiagnosticsTexts.h"
#include "engine/XmlDom.h"
#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/ScopedHandle.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"

const char kNotImplementedText[] = "The method or operation is not implemented.";

namespace {

const wchar_t* const kTag = diagtext::kFileResourceManagerTag;
const size_t kPathCapacity = 520;
const size_t kExtensionCapacity = 255;

}  // namespace

int32_t CFileResourceManager::LoadFolder(const wchar_t* folder) {
  folder_ = CopyText(folder);
  // Without a folder a scan would list the current directory instead.
  if (!folder_) return ERROR_PATH_NOT_FOUND;
  return ScanFolder(folder_.Get());
}

int32_t CFileResourceManager::ScanFolder(const wchar_t* folder) {
  wchar_t pattern[kPathCapacity];
  BoundedCopy(pattern, kPathCapacity, folder);
  if (!PathAppendW(pattern, L"*")) return ERROR_FILENAME_EXCED_RANGE;
  WIN32_FIND_DATAW entry;
  ScopedFindHandle search(FindFirstFileW(pattern, &entry));
  if (!search) return static_cast<int32_t>(GetLastError());
  do {
    if (wcscmp(entry.cFileName, L".") == 0 || wcscmp(entry.cFileName, L"..") == 0) continue;
    wchar_t path[kPathCapacity];
    BoundedCopy(path, kPathCapacity, folder);
    if (!PathAppendW(path, entry.cFileName)) continue;
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      PathRemoveBackslashW(path);
      ScanFolder(path);
    } else if (wcscmp(PathFindExtensionW(entry.cFileName), L".xlf") == 0) {
      // Case-sensitive on purpose: ".XLF" files are not texts of the installer.
      LogMessage(diagtext::kXliffFound, kTag, path);
      LoadXliff(path);
    }
  } while (FindNextFileW(search.Get(), &entry));
  // The search handles stay open, one per folder visited and scan: the scan has
  // always left them so, and the language folder lives as long as the installer.
  search.Release();
  // The walk ends when FindNextFileW fails, whatever the reason: a folder that
  // could be opened counts as scanned.
  return 0;
}

void CFileResourceManager::LoadXliff(const wchar_t* path) {
  ComScope com;
  ScopedCom<IXMLDOMDocument> document(CreateDocument30());
  if (document.Get() == nullptr) return;

  if (!LoadDocument(document.Get(), path)) {
    ParseError error = ReadParseError(document.Get());
    // The arguments do not fit the format: the reason's address lands on the
    // first %i, the line on the second, and the position on the last %s. A
    // column number read as a text address would fault (the first 64 KiB of an
    // address space are never mapped), so that slot gets the null pointer the C
    // runtime prints as "(null)" - which is also what a position of 0 gives, and
    // MSXML under Wine reports every position as 0. The line keeps its shape and
    // never faults.
    LogMessage(diagtext::kXliffParseError, kTag, error.reason.Get(), error.line,
               static_cast<const wchar_t*>(nullptr));
    return;
  }

  ScopedBstr query = MakeBstr(L"//xlf:xliff/xlf:file/xlf:body/xlf:trans-unit");
  ScopedCom<IXMLDOMNodeList> units;
  if (document.Get()->selectNodes(query.Get(), units.Receive()) != S_OK || units.Get() == nullptr) {
    // The parse error is asked for and nothing is made of it: the texts stay as
    // they were, without a line in the log.
    ReadParseError(document.Get());
    return;
  }
  long count = 0;
  if (units.Get()->get_length(&count) != S_OK) return;
  LogMessage(diagtext::kXliffTexts, kTag, static_cast<int>(count), path);

  ScopedBstr resname = MakeBstr(L"resname");
  ScopedBstr target = MakeBstr(L"xlf:target");
  ScopedBstr source = MakeBstr(L"xlf:source");
  for (long i = 0; i < count; ++i) {
    ScopedCom<IXMLDOMNode> unit;
    if (units.Get()->get_item(i, unit.Receive()) != S_OK || unit.Get() == nullptr) return;
    ScopedCom<IXMLDOMNamedNodeMap> attributes;
    if (unit.Get()->get_attributes(attributes.Receive()) != S_OK || attributes.Get() == nullptr) continue;
    ScopedCom<IXMLDOMNode> idNode;
    if (attributes.Get()->getNamedItem(resname.Get(), idNode.Receive()) != S_OK || idNode.Get() == nullptr) continue;
    ScopedBstr id;
    if (idNode.Get()->get_text(id.Receive()) != S_OK) continue;
    ScopedCom<IXMLDOMNode> textNode;
    if (unit.Get()->selectSingleNode(target.Get(), textNode.Receive()) != S_OK || textNode.Get() == nullptr) {
      if (unit.Get()->selectSingleNode(source.Get(), textNode.Receive()) != S_OK || textNode.Get() == nullptr) {
        // A unit with no text at all ends the file, unlike one without resname:
        // the units behind it are not read, the texts before it stay.
        return;
      }
    }
    ScopedBstr text;
    if (textNode.Get()->get_text(text.Receive()) != S_OK) continue;
    texts_[BstrText(id)] = BstrText(text);
  }
}

void CFileResourceManager::Clear() { texts_.clear(); }

int32_t CFileResourceManager::GetString(const wchar_t* id, wchar_t* buffer, int32_t size) {
  // An unknown id stays in the map with an empty text.
  const std::wstring& text = texts_[std::wstring(id != nullptr ? id : L"")];
  // No cut: a buffer too small for the text is the caller's fault, and ends the
  // process as the C runtime's checked copy does on Windows.
  if (buffer == nullptr || size <= 0) FailFastOverrun();
  BoundedCopy(buffer, static_cast<size_t>(size), text.c_str());
  return static_cast<int32_t>(text.size());
}

int32_t CFileResourceManager::GetStringById(uint32_t, wchar_t*, int32_t) { return 0; }

void CFileResourceManager::EnumerateStrings(StringCallback callback, void* context) {
  if (callback == nullptr || texts_.empty()) return;
  for (const auto& entry : texts_) callback(entry.first.c_str(), context, 0);
}

bool CFileResourceManager::GetFileResource(const wchar_t* name, const wchar_t* extension, void* buffer,
                                           uint32_t* size) {
  if (name == nullptr || extension == nullptr) return false;
  // A resource type by number (23 for an HTML page, as a manager of module
  // resources takes it) is no file extension: this manager has no such file.
  if (IS_INTRESOURCE(extension)) return false;
  wchar_t path[kPathCapacity];
  BoundedCopy(path, kPathCapacity, name);
  wchar_t dotted[kExtensionCapacity];
  if (extension[0] == L'.') {
    BoundedCopy(dotted, kExtensionCapacity, extension);
  } else {
    BoundedFormat(dotted, kExtensionCapacity, L".%s", extension);
  }
  BoundedFormat(path, kPathCapacity, L"%s%s", name, dotted);
  if (PathIsRelativeW(path)) {
    BoundedCopy(path, kPathCapacity, folder_ ? folder_.Get() : L"");
    if (!PathAppendW(path, name)) return false;
    wchar_t joined[kPathCapacity];
    BoundedFormat(joined, kPathCapacity, L"%s%s", path, dotted);
    BoundedCopy(path, kPathCapacity, joined);
  }
  ScopedKernelHandle file(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  *size = 0;
  LARGE_INTEGER fileSize;
  if (GetFileSizeEx(file.Get(), &fileSize)) *size = static_cast<uint32_t>(fileSize.QuadPart);
  if (buffer != nullptr) {
    DWORD read = 0;
    ReadFile(file.Get(), buffer, *size, &read, nullptr);
  }
  return true;
}

void CFileResourceManager::GetResourceData() { throw std::logic_error(kNotImplementedText); }

bool CFileResourceManager::GetIcon(const wchar_t* id, HICON* result) {
  if (result == nullptr) return false;
  *result = nullptr;
  HMODULE current = reinterpret_cast<HMODULE>(StoreGet(storename::kCurrentDll));
  HMODULE additional = reinterpret_cast<HMODULE>(StoreGet(storename::kAdditionalDll));
  HMODULE language = reinterpret_cast<HMODULE>(StoreGet(storename::kLangDll));
  for (HMODULE module : {language, additional, current}) {
    // A null module would make LoadIconW look among the system's icons.
    if (module == nullptr) continue;
    HICON icon = LoadIconW(module, id);
    if (icon != nullptr) {
      *result = icon;
      return true;
    }
  }
  return false;
}
