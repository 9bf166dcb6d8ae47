#include "tests/support/PluginFixture.h"

#include "engine/XmlDom.h"
#include "host/HostServices.h"
#include "host/ScriptLoader.h"
#include "host/Shutdown.h"

HMODULE Plugin() {
  static HMODULE plugin = LoadLibraryW(L"InstallCommands.dll");
  return plugin;
}

IXMLDOMNamedNodeMap* ParseAttributes(const std::wstring& elementXml, std::wstring* name) {
  IXMLDOMDocument* document = nullptr;
  if (CoCreateInstance(kClsidDomDocument30, nullptr, CLSCTX_INPROC_SERVER, kIidXmlDomDocument,
                       reinterpret_cast<void**>(&document)) != S_OK) {
    return nullptr;
  }
  BSTR xml = SysAllocString(elementXml.c_str());
  VARIANT_BOOL ok = VARIANT_FALSE;
  document->loadXML(xml, &ok);
  SysFreeString(xml);
  IXMLDOMNamedNodeMap* attributes = nullptr;
  IXMLDOMElement* root = nullptr;
  if (ok == VARIANT_TRUE && document->get_documentElement(&root) == S_OK) {
    root->get_attributes(&attributes);
    if (name != nullptr) {
      BSTR nodeName = nullptr;
      root->get_nodeName(&nodeName);
      *name = nodeName;
      SysFreeString(nodeName);
    }
    root->Release();
  }
  document->Release();
  return attributes;
}

CInstallCommand* CreateCommand(const std::wstring& elementXml, int32_t* loadStatus) {
  std::wstring name;
  IXMLDOMNamedNodeMap* attributes = ParseAttributes(elementXml, &name);
  if (attributes == nullptr) return nullptr;
  typedef CInstallCommand* (*Factory)();
  auto factory = reinterpret_cast<Factory>(
      reinterpret_cast<void*>(GetProcAddress(Plugin(), ("GetC" + Narrow(name) + "Command").c_str())));
  if (factory == nullptr) {
    attributes->Release();
    return nullptr;
  }
  CInstallCommand* command = factory();
  int32_t status = command->Load(attributes);
  if (loadStatus != nullptr) *loadStatus = status;
  // As the engine does: commands that leave index and next to the engine get them
  // from the raw attributes.
  if (command->GetIndex() == -1) {
    IXMLDOMNamedNodeMap* raw = ParseAttributes(elementXml);
    command->LoadIndexes(raw);
    raw->Release();
  }
  return command;
}

std::wstring UniqueName(const wchar_t* stem) {
  static LONG counter = 0;
  return std::wstring(stem) + L"_" + std::to_wstring(GetCurrentProcessId()) + L"_" +
         std::to_wstring(InterlockedIncrement(&counter));
}

void StoreText(const char* name, const std::wstring& value) {
  VariableStore::Instance().Put(name, reinterpret_cast<StoreValue>(MakeString(value.c_str())));
}

void StoreInt(const char* name, int64_t value) { VariableStore::Instance().Put(name, static_cast<StoreValue>(value)); }

StoreValue StoreRead(const char* name) { return VariableStore::Instance().Get(name); }

std::wstring TextOf(const char* name) {
  auto* value = reinterpret_cast<CString*>(StoreRead(name));
  return value != nullptr && value->text != nullptr ? value->text : L"<absent>";
}

void PluginTest::SetUp() {
  ASSERT_NE(Plugin(), nullptr) << "InstallCommands.dll did not load";
  VariableStore& store = VariableStore::Instance();
  store.Clear();
  log_ = new CaptureLogger();
  commands_ = new CommandMap();
  InitializeCriticalSection(&storeLock_);
  cancel_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  store.Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(log_));
  store.Put("SelfFree_Decrypter", reinterpret_cast<StoreValue>(new CPlainDecrypter()));
  store.Put("commands", reinterpret_cast<StoreValue>(commands_));
}

void PluginTest::TearDown() {
  // Chains a test left running are stopped and waited for before their commands go.
  SetEvent(cancel_);
  CancelForkedChains();
  WaitForForkedChains();
  for (HANDLE worker : workers_) {
    WaitForSingleObject(worker, 10000);
    CloseHandle(worker);
  }
  workers_.clear();
  ReleaseStore({});
  CloseHandle(cancel_);
  DeleteCriticalSection(&storeLock_);
}

CInstallCommand* PluginTest::Add(const std::wstring& elementXml) {
  int32_t status = -1;
  CInstallCommand* command = CreateCommand(elementXml, &status);
  EXPECT_NE(command, nullptr) << "no command for " << Narrow(elementXml);
  EXPECT_EQ(status, 0) << Narrow(elementXml);
  if (command == nullptr) return nullptr;
  if (command->GetIndex() == -1) command->SetIndex(1000 + static_cast<int32_t>(commands_->size()));
  (*commands_)[command->GetIndex()] = command;
  return command;
}

namespace {
struct ExecuteJob {
  CInstallCommand* command;
  HANDLE cancel;
  CRITICAL_SECTION* storeLock;
  int32_t status;
  volatile int32_t* result = nullptr;  // where StartExecute's caller reads the status
};

DWORD WINAPI RunExecuteJob(LPVOID parameter) {
  auto* job = static_cast<ExecuteJob*>(parameter);
  job->status = job->command->Execute(job->cancel, job->storeLock);
  if (job->result != nullptr) *job->result = job->status;
  return 0;
}
}  // namespace

HANDLE PluginTest::StartExecute(CInstallCommand* command, volatile int32_t* status) {
  // The job is left to the thread; it is small and tests are short.
  HANDLE worker =
      CreateThread(nullptr, 0, RunExecuteJob, new ExecuteJob{command, cancel_, &storeLock_, -1, status}, 0, nullptr);
  HANDLE copy = nullptr;
  DuplicateHandle(GetCurrentProcess(), worker, GetCurrentProcess(), &copy, 0, FALSE, DUPLICATE_SAME_ACCESS);
  workers_.push_back(copy);
  return worker;
}

int32_t PluginTest::Run(CInstallCommand* command, DWORD timeoutMs) {
  // The job outlives a timed-out wait: the thread still writes into it.
  ExecuteJob* job = new ExecuteJob{command, cancel_, &storeLock_, -1};
  HANDLE worker = CreateThread(nullptr, 0, RunExecuteJob, job, 0, &worker_);
  workers_.push_back(worker);
  if (WaitForSingleObject(worker, timeoutMs) != WAIT_OBJECT_0) {
    ADD_FAILURE() << "the command did not end within " << timeoutMs << " ms";
    SetEvent(cancel_);
    return -1;
  }
  int32_t status = job->status;
  delete job;
  return status;
}
