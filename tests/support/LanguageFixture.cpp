#include "tests/support/LanguageFixture.h"

#include "host/Downloader.h"

namespace {

DWORD WINAPI RunWork(LPVOID work) {
  (*static_cast<const std::function<void()>*>(work))();
  return 0;
}

}  // namespace

std::string Xliff(const std::string& units) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
         "<xlf:xliff version=\"1.2\" xmlns:xlf=\"urn:oasis:names:tc:xliff:document:1.2\">\n"
         "<xlf:file original=\"t\" source-language=\"en-US\" datatype=\"plaintext\"><xlf:body>\n" +
         units + "\n</xlf:body></xlf:file></xlf:xliff>\n";
}

std::string LanguageFile(const std::string& languages) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<lang><languages>\n" + languages + "\n</languages></lang>\n";
}

void Bounded(const std::function<void()>& work, DWORD timeoutMs) {
  HANDLE thread = CreateThread(nullptr, 0, RunWork, const_cast<std::function<void()>*>(&work), 0, nullptr);
  if (WaitForSingleObject(thread, timeoutMs) != WAIT_OBJECT_0) {
    fprintf(stderr, "A language call did not return within %lu ms; stopping the test program.\n", timeoutMs);
    fflush(stderr);
    TerminateProcess(GetCurrentProcess(), 3);  // the work may still use what the caller holds
  }
  CloseHandle(thread);
}

void LanguageTest::SetUp() {
  PluginTest::SetUp();
  std::wstring work = ProgramFolder() + L"work\\";
  static bool emptied = false;
  if (!emptied) RemoveTree(work);
  emptied = true;
  std::wstring name = Widen(::testing::UnitTest::GetInstance()->current_test_info()->name());
  lang_ = work + name + L"\\lang\\";
  server_ = work + name + L"\\server\\";
  for (const std::wstring& folder : {work, work + name, lang_, server_}) CreateDirectoryW(folder.c_str(), nullptr);
  int port = atoi(ReadAll(ProgramFolder() + L"..\\http.port").c_str());
  if (port > 0) {
    // The server serves the folder of the test programs: this one's is its last part.
    std::wstring program = ProgramFolder().substr(0, ProgramFolder().size() - 1);
    program = program.substr(program.find_last_of(L'\\') + 1);
    serverUrl_ = L"http://127.0.0.1:" + std::to_wstring(port) + L"/" + program + L"/work/" + name + L"/server/";
  }
  VariableStore::Instance().Put("SelfFree_DownloaderApi", reinterpret_cast<StoreValue>(new CDownloaderApi()));
}

void LanguageTest::CopyPackage(const wchar_t* code, const std::wstring& folder, const std::wstring& name) {
  std::wstring demo = ProgramFolder() + L"..\\..\\demo\\";
  std::wstring file = std::wstring(L"lang-") + code + L".exe";
  std::wstring source = demo + L"lang\\" + file;
  if (!Exists(source)) source = demo + L"online\\" + file;
  std::wstring target = folder + (name.empty() ? file : name);
  ASSERT_TRUE(CopyFileW(source.c_str(), target.c_str(), FALSE)) << "no package " << Narrow(file);
  if (Exists(source + L".md5")) CopyFileW((source + L".md5").c_str(), (target + L".md5").c_str(), FALSE);
}

IMultiLanguageApi* LanguageTest::Languages() {
  return reinterpret_cast<IMultiLanguageApi*>(VariableStore::Instance().Get("SelfFree_MultiLanguageApi"));
}

IResourceManager* LanguageTest::Texts() {
  return reinterpret_cast<IResourceManager*>(VariableStore::Instance().Get("SelfFree_ResourceManager"));
}

std::wstring LanguageTest::Text(const wchar_t* id) {
  wchar_t buffer[1024] = {};
  if (Texts() == nullptr) return L"<no manager>";
  Texts()->GetString(id, buffer, 1024);
  return buffer;
}

void LanguageTest::RunElement(const std::wstring& elementXml) {
  EXPECT_EQ(Run(Add(elementXml)), 0) << Narrow(elementXml);
}
