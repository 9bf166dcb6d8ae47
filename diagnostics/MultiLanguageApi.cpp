#include "diagnostics/MultiLanguageApi.h"

#include <shlwapi.h>

#include <cstdlib>
#include <cwchar>
#include <new>
#include <string>

#include "engine/interfaces/ResourceManager.h"
#include "engine/XmlDom.h"
#include "engine/Bounded.h"
#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "probes/Platform.h"

namespace {

const size_t kPathCapacity = 520;
const wchar_t kNoDownloader[] = L"Error! No downloader api to add the file to.\n";
const wchar_t kReadyHandle[] = L"@@@@@@@@@@@File ready handle: %x\n";

void Replace(wchar_t** field, const wchar_t* text) {
  free(*field);
  *field = text != nullptr ? _wcsdup(text) : nullptr;
}

void JoinPath(wchar_t (&path)[kPathCapacity], const wchar_t* folder, const wchar_t* name) {
  BoundedCopy(path, kPathCapacity, folder != nullptr ? folder : L"");
  PathAppendW(path, name != nullptr ? name : L"");
}

// Creates (or empties) a file and closes it at once.
void CreateEmptyFile(const wchar_t* path) {
  HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
}

// The expansion of text, or null when there is none (the caller frees it).
wchar_t* Expanded(const wchar_t* text) {
  wchar_t* result = nullptr;
  if (!ExpandVariables(text, &result)) return nullptr;
  return result;
}

// The handle as the log line prints it, on 32 bits.
unsigned int HandleBits(HANDLE handle) { return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(handle)); }

// An attribute's text; false when the attribute is absent or has no text.
bool ReadAttribute(IXMLDOMNamedNodeMap* attributes, const wchar_t* name, Bstr* text) {
  if (attributes == nullptr) return false;
  Bstr attributeName(name);
  ComRef<IXMLDOMNode> node;
  if (attributes->getNamedItem(attributeName, node.Out()) != S_OK || node.Get() == nullptr) return false;
  return node->get_text(text->Out()) == S_OK;
}

// Moves node on to its next sibling that is no comment; false when there is none.
bool NextNonComment(ComRef<IXMLDOMNode>* node) {
  do {
    ComRef<IXMLDOMNode> next;
    if ((*node)->get_nextSibling(next.Out()) != S_OK || next.Get() == nullptr) return false;
    node->Attach(next.Detach());
  } while (IsComment(node->Get()));
  return true;
}

// The node itself when it is no comment, else its next sibling that is none.
bool SkipComments(ComRef<IXMLDOMNode>* node) { return !IsComment(node->Get()) || NextNonComment(node); }

IResourceManager* ResourceManager() { return StoreGetObject<IResourceManager>("SelfFree_ResourceManager"); }

}  // namespace

CMultiLanguageApi::CMultiLanguageApi() : onlineFile(new CFileInfo()), onlineSizeInfo(new CFileSizeInfo()) {}

CMultiLanguageApi::~CMultiLanguageApi() {
  Replace(&languageFolder, nullptr);
  Replace(&configFile, nullptr);
  Replace(&onlineLocation, nullptr);
  Replace(&nameBuffer, nullptr);
  Replace(&currentLanguage, nullptr);
  SelfFreeRelease(onlineFile);
  onlineFile = nullptr;
}

void CMultiLanguageApi::Initialize(const wchar_t* langDir, const wchar_t* configFileName,
                                   const wchar_t* onlineLocationText, const wchar_t* defaultLanguage) {
  Replace(&languageFolder, langDir);
  Replace(&configFile, configFileName);
  Replace(&onlineLocation, onlineLocationText);

  wchar_t path[kPathCapacity];
  JoinPath(path, languageFolder, configFile);
  ReadLanguageFile(path, true);
  onlineWaitDone = true;

  if (onlineLocation != nullptr) {
    // The online file and its checksum file exist, empty, before the transfer
    // starts, so a reader never meets the previous run's copy.
    wchar_t onlinePath[kPathCapacity];
    BoundedFormat(onlinePath, kPathCapacity, L"%s.online", path);
    CreateEmptyFile(onlinePath);
    wchar_t checksumPath[kPathCapacity];
    BoundedFormat(checksumPath, kPathCapacity, L"%s.md5", onlinePath);
    CreateEmptyFile(checksumPath);
    onlineWaitDone = false;

    auto* downloader = StoreGetObject<IDownloaderApi>("SelfFree_DownloaderApi");
    if (downloader == nullptr) {
      LogMessage(kNoDownloader);
      return;
    }
    onlineFile->replaceExisting = 1;
    onlineFile->verifyChecksum = 1;
    onlineSizeInfo->bytesDone = 0;

    wchar_t* name = Expanded(configFile);
    std::wstring onlineName = std::wstring(name != nullptr ? name : configFile) + L".online";
    free(name);
    onlineFile->SetFileName(onlineName.c_str());
    wchar_t* folder = Expanded(languageFolder);
    onlineFile->SetLocalFolder(folder != nullptr ? folder : languageFolder);
    free(folder);
    wchar_t* location = Expanded(onlineLocation);
    onlineFile->SetLocation(location != nullptr ? location : L"http://");
    free(location);

    onlineFile->sizeInfo = onlineSizeInfo;
    LogMessage(kReadyHandle, HandleBits(onlineFile->readyEvent));
    CFileInfo* result = nullptr;
    downloader->AddFile(onlineFile, &result, true);
    onlineFile->Free();
    onlineFile = CFileInfo::CloneOf(result);
    if (onlineFile != nullptr) LogMessage(kReadyHandle, HandleBits(onlineFile->readyEvent));
  }

  CString* forced = StoreGetString("String_ForceSingleLang");
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
  LogMessage(L"MultiLanguageApi: Reading languages from: %s\n", path);
  ComRef<IXMLDOMDocument> document;
  *document.Out() = CreateDocument30();
  if (document.Get() == nullptr) return;
  if (!LoadDocument(document.Get(), path)) {
    ComRef<IXMLDOMParseError> error;
    Bstr reason;
    long line = 0;
    long column = 0;
    if (document->get_parseError(error.Out()) == S_OK && error.Get() != nullptr) {
      error->get_reason(reason.Out());
      error->get_line(&line);
      error->get_linepos(&column);
    }
    LogMessage(L"MultiLanguageApi: XML parsing error! Xml file: %s; reason: %s (line: %d; col: %d)\n", path,
               reason.Text(), static_cast<int>(line), static_cast<int>(column));
    return;
  }

  Bstr query(L"//lang/languages");
  ComRef<IXMLDOMNode> section;
  if (document->selectSingleNode(query, section.Out()) != S_OK || section.Get() == nullptr) return;
  ComRef<IXMLDOMNode> language;
  if (section->get_firstChild(language.Out()) != S_OK || language.Get() == nullptr) return;
  if (!SkipComments(&language)) return;

  do {
    ComRef<IXMLDOMNamedNodeMap> attributes;
    Bstr code;
    if (language->get_attributes(attributes.Out()) != S_OK || attributes.Get() == nullptr) return;
    if (language->get_nodeName(code.Out()) != S_OK) return;
    Bstr name;
    Bstr package;
    // A language without name or package ends the read; those before it stay.
    if (!ReadAttribute(attributes.Get(), L"name", &name)) return;
    if (!ReadAttribute(attributes.Get(), L"package", &package)) return;
    Bstr downloadText;
    Bstr rtl;
    bool hasDownloadText = ReadAttribute(attributes.Get(), L"downloadRequired", &downloadText);
    bool hasRtl = ReadAttribute(attributes.Get(), L"rtl", &rtl);

    LanguageRecord record(code.Text(), name.Text(), package.Text(), hasDownloadText ? downloadText.Text() : nullptr,
                          hasRtl && wcscmp(rtl.Text(), L"true") == 0, true);
    ReadVariables(language.Get(), &record);
    AddRecord(record, local);
  } while (NextNonComment(&language));
}

void CMultiLanguageApi::ReadVariables(IXMLDOMNode* language, LanguageRecord* record) {
  LogMessage(L"MultiLanguageApi: Reading variables for: %s\n", record->code);
  ComRef<IXMLDOMNode> child;
  if (language->get_firstChild(child.Out()) != S_OK || child.Get() == nullptr) return;
  if (!SkipComments(&child)) return;
  do {
    Bstr element;
    if (child->get_nodeName(element.Out()) != S_OK) continue;
    // Exactly "Metrics": another case is an ordinary child, read through string.
    bool metrics = wcscmp(element.Text(), L"Metrics") == 0;
    ComRef<IXMLDOMNamedNodeMap> attributes;
    if (child->get_attributes(attributes.Out()) != S_OK) continue;
    Bstr value;
    if (!ReadAttribute(attributes.Get(), metrics ? L"suffix" : L"string", &value)) continue;
    if (metrics) {
      record->AddVariable("String_LanguageMetricsSuffix", value.Text());
    } else {
      char* name = MakeVarNameW("String_", element.Text());
      if (name != nullptr) record->AddVariable(name, value.Text());
      free(name);
    }
  } while (NextNonComment(&child));
}

void CMultiLanguageApi::AddRecord(const LanguageRecord& record, bool local) {
  if (local) {
    languages.push_back(record);
    return;
  }
  // The online file re-words a known language's variables and nothing else of it.
  auto found = Find(record.code);
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
    if (_wcsicmp(it->code, code) == 0) return it;
  }
  return languages.end();
}

LanguageList* CMultiLanguageApi::GetLanguages() {
  if (listFinal || onlineWaitDone) return &languages;
  onlineWaitDone = true;
  // A request that never reached a downloader (none was published, or it
  // refused the file) has no one to set its ready event: waiting would never
  // end, so the online file is taken as not arrived.
  if (onlineFile == nullptr || onlineFile->location == nullptr) return &languages;
  WaitForSingleObject(onlineFile->readyEvent, INFINITE);
  if (onlineSizeInfo->ReadStatus() != kDownloadArrived) return &languages;

  wchar_t path[kPathCapacity];
  JoinPath(path, languageFolder, configFile);
  wchar_t onlinePath[kPathCapacity];
  BoundedFormat(onlinePath, kPathCapacity, L"%s.online", path);
  ReadLanguageFile(onlinePath, false);
  CString* forced = StoreGetString("String_ForceSingleLang");
  if (forced != nullptr) ForceSingleLanguage(forced->text);
  ApplyDefaultLanguage();
  return &languages;
}

void CMultiLanguageApi::ApplyDefaultLanguage() {
  CString* language = StoreGetString("String_DefaultLanguage");
  if (language == nullptr) return;
  auto found = Find(language->text);
  if (found != languages.end()) ApplyVariables(*found);
}

LanguageList* CMultiLanguageApi::PeekLanguages() { return &languages; }

const wchar_t* CMultiLanguageApi::GetLanguageName(const wchar_t* code) {
  auto found = Find(code);
  if (found == languages.end()) return L"";
  Replace(&nameBuffer, found->displayName);
  return nameBuffer;
}

const wchar_t* CMultiLanguageApi::GetCurrentLanguage() { return currentLanguage; }

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
    while (hit != languages.end() && _wcsicmp(hit->code, code) != 0) ++hit;
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
  SelectRecord(*chosen, chosen->code);
  languages.erase(cursor, languages.end());
  listFinal = true;
}

bool CMultiLanguageApi::SelectLanguage(const wchar_t* code) {
  auto found = Find(code);
  if (found == languages.end()) return false;
  return SelectRecord(*found, code);
}

bool CMultiLanguageApi::SelectRecord(LanguageRecord& record, const wchar_t* code) {
  if (!record.installed) {
    if (!DownloadPackage(record)) return false;
    record.installed = true;
  }
  IResourceManager* texts = ResourceManager();
  if (texts != nullptr) texts->Clear();

  wchar_t package[kPathCapacity];
  JoinPath(package, languageFolder, record.package);
  // Quoted, so that a folder with spaces cannot start another program.
  std::wstring commandLine = L"\"" + std::wstring(package) + L"\"";
  CString* applicationPath = StoreGetString("String_ApplicationPath");
  if (!RunAndWait(commandLine.c_str(), applicationPath != nullptr ? applicationPath->text : nullptr)) return false;

  // code may be the record's own text, which the copy below must outlive.
  wchar_t* selected = _wcsdup(code);
  free(currentLanguage);
  currentLanguage = selected;
  ApplyVariables(record);
  texts = ResourceManager();
  if (texts != nullptr) texts->LoadFolder(languageFolder);
  return true;
}

bool CMultiLanguageApi::DownloadPackage(const LanguageRecord& record) {
  wchar_t path[kPathCapacity];
  JoinPath(path, languageFolder, record.package);
  CreateEmptyFile(path);
  wchar_t checksumPath[kPathCapacity];
  BoundedFormat(checksumPath, kPathCapacity, L"%s.md5", path);
  CreateEmptyFile(checksumPath);

  auto* downloader = StoreGetObject<IDownloaderApi>("SelfFree_DownloaderApi");
  if (downloader == nullptr) {
    LogMessage(kNoDownloader);
    return false;
  }
  CFileInfo* file = new CFileInfo();
  // Size infos are left to the process's end: the downloader may still hold one.
  CFileSizeInfo* sizeInfo = new CFileSizeInfo();
  file->replaceExisting = 1;
  file->verifyChecksum = 1;
  sizeInfo->bytesDone = 0;
  file->SetFileName(record.package);
  wchar_t* folder = Expanded(languageFolder);
  file->SetLocalFolder(folder != nullptr ? folder : languageFolder);
  free(folder);
  wchar_t* location = Expanded(onlineLocation);
  file->SetLocation(location);
  free(location);
  file->sizeInfo = sizeInfo;

  LogMessage(kReadyHandle, HandleBits(file->readyEvent));
  CFileInfo* result = nullptr;
  downloader->AddFile(file, &result, true);
  file->Free();
  CFileInfo* clone = CFileInfo::CloneOf(result);
  // The second line names the online file's event, not the package's.
  LogMessage(kReadyHandle, HandleBits(onlineFile != nullptr ? onlineFile->readyEvent : nullptr));
  // A downloader that took no request will never set an event for it.
  if (clone == nullptr) return false;
  WaitForSingleObject(clone->readyEvent, INFINITE);
  CFileSizeInfo* progress = clone->sizeInfo != nullptr ? clone->sizeInfo : sizeInfo;
  uint32_t status = progress->ReadStatus();
  clone->Free();
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
  StorePut("int_isLangRTL", layout);
}
