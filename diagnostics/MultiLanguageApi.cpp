#include "diagnostics/MultiLanguageApi.h"

#include <shlwapi.h>

#include <cstdlib>
#include <cwchar>
#include <new>
#include <string>

#include "diagnostics/DiagnosticsTexts.h"
#include "engine/interfaces/ResourceManager.h"
#include "engine/XmlDom.h"
#include "engine/Bounded.h"
#include "engine/Expand.h"
#include "engine/FileNames.h"
#include "engine/Log.h"
#include "engine/ScopedHandle.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "engine/VarName.h"
#include "probes/Platform.h"

namespace {

const size_t kPathCapacity = 520;
void JoinPath(wchar_t (&path)[kPathCapacity], const wchar_t* folder, const wchar_t* name) {
  BoundedCopy(path, kPathCapacity, folder != nullptr ? folder : L"");
  PathAppendW(path, name != nullptr ? name : L"");
}

// Creates (or empties) a file and closes it at once.
void CreateEmptyFile(const wchar_t* path) {
  ScopedKernelHandle file(CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// The handle as the log line prints it, on 32 bits.
unsigned int HandleBits(HANDLE handle) { return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(handle)); }

// An attribute's text; false when the attribute is absent or has no text.
bool ReadAttribute(IXMLDOMNamedNodeMap* attributes, const wchar_t* name, ScopedBstr* text) {
  if (attributes == nullptr) return false;
  ScopedBstr attributeName = MakeBstr(name);
  ScopedCom<IXMLDOMNode> node;
  if (attributes->getNamedItem(attributeName.Get(), node.Receive()) != S_OK || node.Get() == nullptr) return false;
  return node.Get()->get_text(text->Receive()) == S_OK;
}

// Moves node on to its next sibling that is no comment; false when there is none.
bool NextNonComment(ScopedCom<IXMLDOMNode>* node) {
  do {
    ScopedCom<IXMLDOMNode> next;
    if (node->Get()->get_nextSibling(next.Receive()) != S_OK || next.Get() == nullptr) return false;
    node->Reset(next.Release());
  } while (IsComment(node->Get()));
  return true;
}

// The node itself when it is no comment, else its next sibling that is none.
bool SkipComments(ScopedCom<IXMLDOMNode>* node) { return !IsComment(node->Get()) || NextNonComment(node); }

IResourceManager* ResourceManager() { return StoreGetObject<IResourceManager>(storename::kResourceManager); }

}  // namespace

CMultiLanguageApi::CMultiLanguageApi() : onlineFile(new CFileInfo()), onlineSizeInfo(new CFileSizeInfo()) {}

void CMultiLanguageApi::Initialize(const wchar_t* langDir, const wchar_t* configFileName,
                                   const wchar_t* onlineLocationText, const wchar_t* defaultLanguage) {
  languageFolder = CopyText(langDir);
  configFile = CopyText(configFileName);
  onlineLocation = CopyText(onlineLocationText);

  wchar_t path[kPathCapacity];
  JoinPath(path, languageFolder.Get(), configFile.Get());
  ReadLanguageFile(path, true);
  onlineWaitDone = true;

  if (onlineLocation) {
    // The online file and its checksum file exist, empty, before the transfer
    // starts, so a reader never meets the previous run's copy.
    wchar_t onlinePath[kPathCapacity];
    BoundedFormat(onlinePath, kPathCapacity, L"%s.online", path);
    CreateEmptyFile(onlinePath);
    wchar_t checksumPath[kPathCapacity];
    BoundedFormat(checksumPath, kPathCapacity, L"%s.md5", onlinePath);
    CreateEmptyFile(checksumPath);
    onlineWaitDone = false;

    auto* downloader = StoreGetObject<IDownloaderApi>(storename::kDownloaderApi);
    if (downloader == nullptr) {
      LogMessage(diagtext::kNoDownloader);
      return;
    }
    onlineFile.Get()->replaceExisting = 1;
    onlineFile.Get()->verifyChecksum = 1;
    onlineSizeInfo->bytesDone = 0;

    ScopedText name = Expand(configFile.Get(), OnFailure::KeepText);
    std::wstring onlineName = std::wstring(name.Get()) + L".online";
    onlineFile.Get()->SetFileName(onlineName.c_str());
    onlineFile.Get()->SetLocalFolder(Expand(languageFolder.Get(), OnFailure::KeepText).Get());
    ScopedText location = Expand(onlineLocation.Get(), OnFailure::DropText);
    onlineFile.Get()->SetLocation(location ? location.Get() : diagtext::kFallbackLocation);

    onlineFile.Get()->sizeInfo = onlineSizeInfo;
    LogMessage(diagtext::kReadyHandle, HandleBits(onlineFile.Get()->readyEvent));
    CFileInfo* result = nullptr;
    downloader->AddFile(onlineFile.Get(), &result, true);
    // The request goes before its clone is made, as it always has.
    onlineFile.Reset();
    onlineFile.Reset(CFileInfo::CloneOf(result));
    if (onlineFile) LogMessage(diagtext::kReadyHandle, HandleBits(onlineFile.Get()->readyEvent));
  }

  CString* forced = StoreGetString(storename::kForceSingleLang);
  if (forced != nullptr) ForceSingleLanguage(forced->text);

  if (defaultLanguage != nullptr) {
    auto found = Find(defaultLanguage);
    if (found != languages.end()) {
      ApplyVariables(*found);
      return;
    }
  }
  if (!languages.empty()) {
    LanguageRecord first = languages.front();
    ApplyVariables(first);
  }
}

void CMultiLanguageApi::ReadLanguageFile(const wchar_t* path, bool local) {
  ComScope com;
  LogMessage(diagtext::kReadingLanguages, path);
  ScopedCom<IXMLDOMDocument> document(CreateDocument30());
  if (document.Get() == nullptr) return;
  if (!LoadDocument(document.Get(), path)) {
    ParseError error = ReadParseError(document.Get());
    LogMessage(diagtext::kLanguageFileError, path, BstrText(error.reason), static_cast<int>(error.line),
               static_cast<int>(error.column));
    return;
  }

  ScopedBstr query = MakeBstr(L"//lang/languages");
  ScopedCom<IXMLDOMNode> section;
  if (document.Get()->selectSingleNode(query.Get(), section.Receive()) != S_OK || section.Get() == nullptr) return;
  ScopedCom<IXMLDOMNode> language;
  if (section.Get()->get_firstChild(language.Receive()) != S_OK || language.Get() == nullptr) return;
  if (!SkipComments(&language)) return;

  do {
    ScopedCom<IXMLDOMNamedNodeMap> attributes;
    ScopedBstr code;
    if (language.Get()->get_attributes(attributes.Receive()) != S_OK || attributes.Get() == nullptr) return;
    if (language.Get()->get_nodeName(code.Receive()) != S_OK) return;
    ScopedBstr name;
    ScopedBstr package;
    // A language without name or package ends the read; those before it stay.
    if (!ReadAttribute(attributes.Get(), L"name", &name)) return;
    if (!ReadAttribute(attributes.Get(), L"package", &package)) return;
    ScopedBstr downloadText;
    ScopedBstr rtl;
    bool hasDownloadText = ReadAttribute(attributes.Get(), L"downloadRequired", &downloadText);
    bool hasRtl = ReadAttribute(attributes.Get(), L"rtl", &rtl);

    LanguageRecord record(BstrText(code), BstrText(name), BstrText(package),
                          hasDownloadText ? BstrText(downloadText) : nullptr,
                          hasRtl && wcscmp(BstrText(rtl), L"true") == 0, true);
    ReadVariables(language.Get(), &record);
    AddRecord(record, local);
  } while (NextNonComment(&language));
}

void CMultiLanguageApi::ReadVariables(IXMLDOMNode* language, LanguageRecord* record) {
  LogMessage(diagtext::kReadingVariables, record->code.Get());
  ScopedCom<IXMLDOMNode> child;
  if (language->get_firstChild(child.Receive()) != S_OK || child.Get() == nullptr) return;
  if (!SkipComments(&child)) return;
  do {
    ScopedBstr element;
    if (child.Get()->get_nodeName(element.Receive()) != S_OK) continue;
    // Exactly "Metrics": another case is an ordinary child, read through string.
    bool metrics = wcscmp(BstrText(element), L"Metrics") == 0;
    ScopedCom<IXMLDOMNamedNodeMap> attributes;
    if (child.Get()->get_attributes(attributes.Receive()) != S_OK) continue;
    ScopedBstr value;
    if (!ReadAttribute(attributes.Get(), metrics ? L"suffix" : L"string", &value)) continue;
    if (metrics) {
      record->AddVariable(storename::kLanguageMetricsSuffix, BstrText(value));
    } else {
      VarName name("String_", BstrText(element));
      if (name) record->AddVariable(name.Get(), BstrText(value));
    }
  } while (NextNonComment(&child));
}

void CMultiLanguageApi::AddRecord(const LanguageRecord& record, bool local) {
  if (local) {
    languages.push_back(record);
    return;
  }
  // The online file re-words a known language's variables and nothing else of it.
  auto found = Find(record.code.Get());
  if (found != languages.end()) {
    found->variables = record.variables;
    return;
  }
  languages.push_back(record);
  languages.back().installed = false;
}

LanguageList::iterator CMultiLanguageApi::Find(const wchar_t* code) {
  if (code == nullptr) return languages.end();
  for (auto it = languages.begin(); it != languages.end(); ++it) {
    if (_wcsicmp(it->code.Get(), code) == 0) return it;
  }
  return languages.end();
}

LanguageList* CMultiLanguageApi::GetLanguages() {
  if (listFinal || onlineWaitDone) return &languages;
  onlineWaitDone = true;
  // A request that never reached a downloader (none was published, or it
  // refused the file) has no one to set its ready event: waiting would never
  // end, so the online file is taken as not arrived.
  if (!onlineFile || !onlineFile.Get()->location) return &languages;
  WaitForSingleObject(onlineFile.Get()->readyEvent, INFINITE);
  if (onlineSizeInfo->ReadStatus() != kDownloadArrived) return &languages;

  wchar_t path[kPathCapacity];
  JoinPath(path, languageFolder.Get(), configFile.Get());
  wchar_t onlinePath[kPathCapacity];
  BoundedFormat(onlinePath, kPathCapacity, L"%s.online", path);
  ReadLanguageFile(onlinePath, false);
  CString* forced = StoreGetString(storename::kForceSingleLang);
  if (forced != nullptr) ForceSingleLanguage(forced->text);
  ApplyDefaultLanguage();
  return &languages;
}

void CMultiLanguageApi::ApplyDefaultLanguage() {
  CString* language = StoreGetString(storename::kDefaultLanguage);
  if (language == nullptr) return;
  auto found = Find(language->text);
  if (found != languages.end()) ApplyVariables(*found);
}

LanguageList* CMultiLanguageApi::PeekLanguages() { return &languages; }

const wchar_t* CMultiLanguageApi::GetLanguageName(const wchar_t* code) {
  auto found = Find(code);
  if (found == languages.end()) return L"";
  nameBuffer = CopyText(found->displayName.Get());
  return nameBuffer.Get();
}

const wchar_t* CMultiLanguageApi::GetCurrentLanguage() { return currentLanguage.Get(); }

bool CMultiLanguageApi::IsLanguageInstalled(const wchar_t* code) {
  auto found = Find(code);
  return found != languages.end() && found->installed;
}

bool CMultiLanguageApi::IsLanguageRtl(const wchar_t* code) {
  auto found = Find(code);
  return found != languages.end() && found->rtl;
}

bool CMultiLanguageApi::ForceSingleLanguage(const wchar_t* code) {
  auto found = Find(code);
  if (found == languages.end()) return false;
  LanguageRecord only = *found;
  languages.clear();
  languages.push_back(only);
  return true;
}

void CMultiLanguageApi::ApplyCloudList(MultiStringList* cloud, const wchar_t* preferred) {
  int32_t count = cloud->GetCount();
  if (count == 0) return;
  auto cursor = languages.begin();
  for (int32_t i = count - 1; i >= 0; --i) {
    const wchar_t* code = cloud->GetItem(i);
    if (code == nullptr) continue;
    auto hit = cursor;
    while (hit != languages.end() && _wcsicmp(hit->code.Get(), code) != 0) ++hit;
    if (hit == languages.end()) continue;
    languages.push_front(*hit);
    if (cursor == hit) ++cursor;
    languages.erase(hit);
  }
  if (cursor == languages.begin()) {
    listFinal = true;
    return;
  }
  // The preferred language is looked for in the whole list, also behind the
  // cursor: it is selected, and then goes with the rest.
  auto chosen = Find(preferred);
  if (chosen == languages.end()) chosen = languages.begin();
  SelectRecord(*chosen, chosen->code.Get());
  languages.erase(cursor, languages.end());
  listFinal = true;
}

bool CMultiLanguageApi::SelectLanguage(const wchar_t* code) {
  auto found = Find(code);
  if (found == languages.end()) return false;
  return SelectRecord(*found, code);
}

bool CMultiLanguageApi::SelectRecord(LanguageRecord& record, const wchar_t* code) {
  // The package name comes from a language file, the online one too, which may
  // arrive over plain HTTP: a name that would leave the language folder is
  // neither created, fetched nor run.
  const wchar_t* refused = WhyNotBareFileName(record.package.Get());
  if (refused != nullptr) {
    LogMessage(diagtext::kPackageRefused, record.package ? record.package.Get() : L"", record.code.Get(), refused);
    return false;
  }
  if (!record.installed) {
    if (!DownloadPackage(record)) return false;
    record.installed = true;
  }
  IResourceManager* texts = ResourceManager();
  if (texts != nullptr) texts->Clear();

  wchar_t package[kPathCapacity];
  JoinPath(package, languageFolder.Get(), record.package.Get());
  // Quoted, so that a folder with spaces cannot start another program.
  std::wstring commandLine = L"\"" + std::wstring(package) + L"\"";
  CString* applicationPath = StoreGetString(storename::kApplicationPath);
  if (!RunAndWait(commandLine.c_str(), applicationPath != nullptr ? applicationPath->text : nullptr)) return false;

  // code may be the current language's own text (GetCurrentLanguage passed back):
  // the copy is made before the old text goes.
  currentLanguage = CopyText(code);
  ApplyVariables(record);
  texts = ResourceManager();
  if (texts != nullptr) texts->LoadFolder(languageFolder.Get());
  return true;
}

bool CMultiLanguageApi::DownloadPackage(const LanguageRecord& record) {
  wchar_t path[kPathCapacity];
  JoinPath(path, languageFolder.Get(), record.package.Get());
  CreateEmptyFile(path);
  wchar_t checksumPath[kPathCapacity];
  BoundedFormat(checksumPath, kPathCapacity, L"%s.md5", path);
  CreateEmptyFile(checksumPath);

  auto* downloader = StoreGetObject<IDownloaderApi>(storename::kDownloaderApi);
  if (downloader == nullptr) {
    LogMessage(diagtext::kNoDownloader);
    return false;
  }
  ScopedSelfFree<CFileInfo> file(new CFileInfo());
  // Size infos are left to the process's end: the downloader may still hold one.
  CFileSizeInfo* sizeInfo = new CFileSizeInfo();
  file.Get()->replaceExisting = 1;
  file.Get()->verifyChecksum = 1;
  sizeInfo->bytesDone = 0;
  file.Get()->SetFileName(record.package.Get());
  file.Get()->SetLocalFolder(Expand(languageFolder.Get(), OnFailure::KeepText).Get());
  file.Get()->SetLocation(Expand(onlineLocation.Get(), OnFailure::DropText).Get());
  file.Get()->sizeInfo = sizeInfo;

  LogMessage(diagtext::kReadyHandle, HandleBits(file.Get()->readyEvent));
  CFileInfo* result = nullptr;
  downloader->AddFile(file.Get(), &result, true);
  file.Reset();
  ScopedSelfFree<CFileInfo> clone(CFileInfo::CloneOf(result));
  // The second line names the online file's event, not the package's.
  LogMessage(diagtext::kReadyHandle, HandleBits(onlineFile ? onlineFile.Get()->readyEvent : nullptr));
  // A downloader that took no request will never set an event for it.
  if (!clone) return false;
  WaitForSingleObject(clone.Get()->readyEvent, INFINITE);
  CFileSizeInfo* progress = clone.Get()->sizeInfo != nullptr ? clone.Get()->sizeInfo : sizeInfo;
  uint32_t status = progress->ReadStatus();
  return status == kDownloadArrived || status == kDownloadKept;
}

void CMultiLanguageApi::ApplyVariables(const LanguageRecord& record) {
  std::map<std::string, std::wstring> variables = record.variables;
  for (const auto& variable : variables) {
    SelfFreeRelease(StoreGetObject<CSelfFree>(variable.first.c_str()));
    StorePutObject(variable.first.c_str(), MakeString(variable.second.c_str()));
  }
  DWORD layout = record.rtl ? 1 : 0;
  SetProcessDefaultLayout(layout);
  StorePut(storename::kIsLangRTL, layout);
}
