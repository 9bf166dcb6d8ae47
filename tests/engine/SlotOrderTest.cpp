// Fault caught: a shifted vtable slot; every interface is called by raw slot index as a foreign host would.
#include <cstdarg>
#include <functional>

#include "diagnostics/ErrorApi.h"
#include "diagnostics/MultiLanguageApi.h"
#include "engine/interfaces/ResourceManager.h"
#include "engine/Format.h"
#include "host/MultiStrings.h"
#include "engine/interfaces/WinapiInterface.h"
#include "services/ServiceMgrApi.h"
#include "tests/support/PluginFixture.h"

namespace {

// Objects laid out as a foreign compiler lays them out: a table of plain
// functions that take the object first.
struct Foreign {
  void** table;
  std::wstring seen;
};
void ForeignNoop(Foreign*) {}
void* ForeignDestroy(Foreign* self, unsigned int) { return self; }
void ForeignLog(Foreign* self, const wchar_t* format, va_list args) {
  wchar_t* text = FormatWideV(format, args);
  self->seen += text;
  free(text);
}
// Strips a marker, so that a number only reads right when it went through slot 2.
wchar_t* ForeignDecrypt(Foreign* self, const wchar_t* text) {
  self->seen = text;
  if (self->seen.compare(0, 4, L"enc:") == 0) self->seen.erase(0, 4);
  return &self->seen[0];
}
uint32_t ForeignShow(Foreign* self, const wchar_t* text, const wchar_t* title, uint32_t buttons, uint32_t icon,
                     uintptr_t, uintptr_t) {
  self->seen += std::wstring(text) + L"|" + title + L"|" + std::to_wstring(buttons) + L"|" + std::to_wstring(icon);
  return 0;
}
template <class... F>
void** Table(F... functions) {
  return new void*[sizeof...(F)]{reinterpret_cast<void*>(functions)...};
}

class SlotOrderTest : public PluginTest {
 public:
  using PluginTest::Add;
  using PluginTest::log_;
  using PluginTest::Run;
  using PluginTest::storeLock_;
  using PluginTest::worker_;
  void TearDown() override {
    RemoveTree(dir_);
    PluginTest::TearDown();
  }
  void* Published(const std::wstring& element, const char* name) {
    EXPECT_EQ(Run(Add(element)), 0);
    return reinterpret_cast<void*>(StoreRead(name));
  }
  std::wstring dir_ = NewTempFolder(L"slots");
};

struct SlotRow {
  const char* name;
  std::function<void(SlotOrderTest*)> check;
};

}  // namespace

TEST_F(SlotOrderTest, EveryInterfaceKeepsItsSlots) {
  const SlotRow rows[] = {
      {"command: 2 GetIndex, 3 GetNextIndex, 4 Execute, 5 SetIndex, 6 Load, 7 LoadIndexes, 8 IsRequired, 0 Free",
       [](SlotOrderTest* t) {
         void* command = CreateCommand(L"<SetEvent eventVar='x'/>");
         CallSlot<void, int32_t>(command, 5, 7);
         EXPECT_EQ((CallSlot<int32_t>(command, 2)), 7);
         EXPECT_EQ((CallSlot<int32_t>(command, 3)), 8);
         EXPECT_TRUE((CallSlot<bool>(command, 8)));
         std::wstring eventVar = UniqueName(L"Slot");
         IXMLDOMNamedNodeMap* attributes =
             ParseAttributes(L"<SetEvent index='4' next='9' execCondition='Never' eventVar='" + eventVar + L"'/>");
         EXPECT_EQ((CallSlot<int32_t, IXMLDOMNamedNodeMap*>(command, 6, attributes)), 0);
         EXPECT_EQ((CallSlot<int32_t>(command, 2)), 4);
         EXPECT_FALSE((CallSlot<bool>(command, 8)));
         IXMLDOMNamedNodeMap* raw = ParseAttributes(L"<SetEvent index='12' next='30'/>");
         EXPECT_EQ((CallSlot<int32_t, IXMLDOMNamedNodeMap*>(command, 7, raw)), 0);
         raw->Release();
         EXPECT_EQ((CallSlot<int32_t>(command, 2)), 12);
         HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
         VariableStore::Instance().Put(("HANDLE_" + Narrow(eventVar)).c_str(), reinterpret_cast<StoreValue>(event));
         EXPECT_EQ((CallSlot<int32_t, HANDLE, CRITICAL_SECTION*>(command, 4, INVALID_HANDLE_VALUE, &t->storeLock_)), 0);
         EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
         EXPECT_EQ((CallSlot<int32_t>(command, 3)), 30);
         CallSlot<void>(command, 0);
       }},
      {"command: 1 the deleting destructor, which frees only with flag 1",
       [](SlotOrderTest*) {
         void* command = CreateCommand(L"<Join threadId='1' condition='c' strValue='s'/>");
         void* self = CallSlot<void*, unsigned int>(command, 1, 0u);
         EXPECT_EQ(self, command);
         ::operator delete(self);
       }},
      {"logger of the engine: the library logs through slot 2",
       [](SlotOrderTest* t) {
         Foreign logger = {Table(ForeignNoop, ForeignDestroy, ForeignLog, ForeignNoop, ForeignNoop)};
         VariableStore::Instance().Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(&logger));
         CInstallCommand* command = t->Add(L"<SetEvent index='3' eventVar='SlotNone'/>");
         command->Execute(INVALID_HANDLE_VALUE, &t->storeLock_);
         VariableStore::Instance().Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(t->log_));
         EXPECT_EQ(logger.seen, L"3: SetEvent Begin execute.\nHANDLE_SlotNone doesn't contain an event to set!\n");
         LeaveCriticalSection(&command->lock);
       }},
      {"logger: 3 StartThreadLog registers the thread, 4 SetLogKey",
       [](SlotOrderTest* t) {
         size_t started = t->log_->StartedThreads();
         CallSlot<void, const char*>(t->log_, 4, "key");
         EXPECT_EQ(t->log_->StartedThreads(), started);
         CallSlot<void, const wchar_t*, bool>(t->log_, 3, L"slot test", false);
         EXPECT_EQ(t->log_->StartedThreads(), started + 1);
       }},
      {"decrypter of the engine: the library reads attributes through slot 2",
       [](SlotOrderTest* t) {
         Foreign decrypter = {Table(ForeignNoop, ForeignDestroy, ForeignDecrypt)};
         StoreValue own = StoreRead("SelfFree_Decrypter");
         VariableStore::Instance().Put("SelfFree_Decrypter", reinterpret_cast<StoreValue>(&decrypter));
         CInstallCommand* fork = t->Add(L"<Fork index='enc:5' threadId='enc:0x1F41' threadStart='enc:0x20'/>");
         VariableStore::Instance().Put("SelfFree_Decrypter", own);
         size_t mark = t->log_->Mark();
         EXPECT_EQ(t->Run(fork), 0);
         EXPECT_EQ(t->log_->Since(mark, t->worker_).front(), L"5: Fork Begin execute, threadId=8001, threadStart=32.\n");
       }},
      {"lists of the engine: 2 CreateList; 2 GetItem, 3 AddString, 8 GetCount, 9 GetLength, 10 GetBuffer, 11 Release",
       [](SlotOrderTest*) {
         CMultiStringApi api;
         void* list = CallSlot<void*>(&api, 2);
         CallSlot<void, const wchar_t*>(list, 3, L"one");
         CallSlot<void, const wchar_t*>(list, 3, L"two");
         EXPECT_EQ((CallSlot<int32_t>(list, 8)), 2);
         EXPECT_STREQ((CallSlot<const wchar_t*, int32_t>(list, 2, 1)), L"two");
         EXPECT_EQ((CallSlot<const wchar_t*, int32_t>(list, 2, 2)), nullptr);
         EXPECT_EQ((CallSlot<int32_t>(list, 9)), 9);
         EXPECT_EQ(std::wstring(CallSlot<wchar_t*>(list, 10), 9), std::wstring(L"one\0two\0\0", 9));
         CallSlot<void>(list, 11);
         CallSlot<void>(list, 0);
       }},
      {"text values: the text right behind the table",
       [](SlotOrderTest*) {
         CString* value = MakeString(L"text");
         EXPECT_STREQ(reinterpret_cast<wchar_t**>(value)[1], L"text");
         CallSlot<void>(value, 0);
       }},
      {"error collector: 2 ReportError, 3 GetErrors, 0 Free",
       [](SlotOrderTest*) {
         void* errors = new CErrorApi();
         auto report = [&](const wchar_t* format, ...) {
           va_list args;
           va_start(args, format);
           CallSlot<void, uint32_t, const wchar_t*, const wchar_t*, va_list>(errors, 2, 7, L"slot", format, args);
           va_end(args);
         };
         report(L"%i", 3);
         wchar_t buffer[64];
         uint32_t size = 64;
         EXPECT_EQ((CallSlot<uint32_t, wchar_t*, uint32_t*>(errors, 3, buffer, &size)), 0u);
         EXPECT_STREQ(buffer, L"Error: 0x7|slot|3\n");
         CallSlot<void>(errors, 0);
       }},
      {"platform table: 1 Init, 2 Delete, 3 Enter, 4 Leave, 5 CreateEvent, 6 SetEvent, 7 Close, 8 Ticks, 9 MbToWide",
       [](SlotOrderTest*) {
         void* api = new CWinapiInterface();
         CRITICAL_SECTION section;
         CallSlot<void, LPCRITICAL_SECTION>(api, 1, &section);
         CallSlot<void, LPCRITICAL_SECTION>(api, 3, &section);
         EXPECT_EQ(section.RecursionCount, 1);
         CallSlot<void, LPCRITICAL_SECTION>(api, 4, &section);
         EXPECT_EQ(section.RecursionCount, 0);
         CallSlot<void, LPCRITICAL_SECTION>(api, 2, &section);
         HANDLE event = CallSlot<HANDLE, LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR>(api, 5, nullptr, TRUE, FALSE, nullptr);
         ASSERT_NE(event, nullptr);
         EXPECT_TRUE((CallSlot<BOOL, HANDLE>(api, 6, event)));
         EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
         EXPECT_TRUE((CallSlot<BOOL, HANDLE>(api, 7, event)));
         EXPECT_NE((CallSlot<DWORD>(api, 8)), 0u);
         wchar_t wide[8] = {};
         EXPECT_EQ((CallSlot<int, UINT, DWORD, LPCCH, int, LPWSTR, int>(api, 9, CP_ACP, 0, "abc", -1, wide, 8)), 4);
         EXPECT_STREQ(wide, L"abc");
         CallSlot<void*, unsigned int>(api, 0, 1u);
       }},
      {"service manager: 6 Create, 4 Open, 5 Query, 1 Stop, 2 Start, 3 Uninstall, 0 destructor",
       [](SlotOrderTest*) {
         void* api = new CServiceMgrApi(new CWinapiInterface(), true);
         std::wstring name = UniqueName(L"SvcTestSlots"), path = L"C:\\no-such-service.exe";
         ServiceConfig config = {&name[0], const_cast<wchar_t*>(L"Slots"), nullptr, SERVICE_ALL_ACCESS,
                                 SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, &path[0],
                                 nullptr, nullptr, nullptr, nullptr, nullptr};
         EXPECT_EQ((CallSlot<int32_t, const ServiceConfig*, bool>(api, 6, &config, false)), 0);
         ServiceHandles handles = {};
         EXPECT_EQ((CallSlot<int32_t, const wchar_t*, DWORD, ServiceHandles*>(api, 4, name.c_str(), 0, &handles)), 0);
         SERVICE_STATUS_PROCESS status = {};
         EXPECT_TRUE((CallSlot<bool, SC_HANDLE, SERVICE_STATUS_PROCESS*>(api, 5, handles.service, &status)));
         EXPECT_EQ(status.dwCurrentState, static_cast<DWORD>(SERVICE_STOPPED));
         CloseServiceHandles(&handles);
         EXPECT_EQ((CallSlot<int32_t, const wchar_t*, bool, int32_t>(api, 1, name.c_str(), false, 0)), 0) << "stopped";
         EXPECT_NE((CallSlot<int32_t, const wchar_t*, bool, int32_t>(api, 2, name.c_str(), false, 0)), 0) << "no binary";
         EXPECT_EQ((CallSlot<int32_t, const wchar_t*>(api, 3, name.c_str())), 0);
         EXPECT_FALSE(ServiceExists(name));
         EXPECT_EQ((CallSlot<int32_t, const wchar_t*>(api, 3, name.c_str())), 1);
         EXPECT_EQ((CallSlot<void*, unsigned int>(api, 0, 1u)), api);
       }},
      {"resource manager: 2 LoadFolder, 3 Clear, 4 GetString, 5 ById, 6 Enumerate, 7 FileResource, 9 GetIcon",
       [](SlotOrderTest* t) {
         WriteAll(t->dir_ + L"t.xlf",
                  "<xlf:xliff xmlns:xlf=\"urn:oasis:names:tc:xliff:document:1.2\"><xlf:file><xlf:body>"
                  "<xlf:trans-unit resname=\"Id\"><xlf:source>text</xlf:source></xlf:trans-unit>"
                  "</xlf:body></xlf:file></xlf:xliff>");
         WriteAll(t->dir_ + L"page.html", "<p/>");
         void* texts = t->Published(L"<LocalizationManager localeFolder='" + t->dir_ + L"'/>", "SelfFree_ResourceManager");
         wchar_t buffer[16] = {};
         EXPECT_EQ((CallSlot<int32_t, const wchar_t*, wchar_t*, int32_t>(texts, 4, L"Id", buffer, 16)), 4);
         EXPECT_STREQ(buffer, L"text");
         EXPECT_EQ((CallSlot<int32_t, uint32_t, wchar_t*, int32_t>(texts, 5, 10001, buffer, 16)), 0);
         static std::vector<std::wstring> ids;
         ids.clear();
         CallSlot<void, StringCallback, void*>(texts, 6, [](const wchar_t* id, void*, int) { ids.push_back(id); },
                                               nullptr);
         EXPECT_EQ(ids, std::vector<std::wstring>{L"Id"});
         uint32_t size = 0;
         EXPECT_TRUE((CallSlot<bool, const wchar_t*, const wchar_t*, void*, uint32_t*>(texts, 7, L"page", L"html",
                                                                                        nullptr, &size)));
         EXPECT_EQ(size, 4u);
         HICON icon = nullptr;
         EXPECT_FALSE((CallSlot<bool, const wchar_t*, HICON*>(texts, 9, L"#20004", &icon)));
         CallSlot<void>(texts, 3);
         EXPECT_EQ((CallSlot<int32_t, const wchar_t*, wchar_t*, int32_t>(texts, 4, L"Id", buffer, 16)), 0);
         EXPECT_EQ((CallSlot<int32_t, const wchar_t*>(texts, 2, (t->dir_ + L"none").c_str())), ERROR_PATH_NOT_FOUND);
       }},
      {"language manager: 2 Select, 3 GetLanguages, 4 Name, 5 Current, 6 Installed, 7 Rtl, 8 ForceSingle, 9 Peek",
       [](SlotOrderTest* t) {
         WriteAll(t->dir_ + L"languages.xml",
                  "<lang><languages><en-US name='English' package='en.exe'/>"
                  "<he-IL name='Hebrew' package='he.exe' rtl='true'/></languages></lang>");
         void* languages = t->Published(L"<MultiLanguage langDir='" + t->dir_ + L"' configFile='languages.xml'/>",
                                        "SelfFree_MultiLanguageApi");
         auto* list = CallSlot<LanguageList*>(languages, 9);
         EXPECT_EQ(list->size(), 2u);
         EXPECT_EQ((CallSlot<LanguageList*>(languages, 3)), list);
         EXPECT_STREQ((CallSlot<const wchar_t*, const wchar_t*>(languages, 4, L"he-IL")), L"Hebrew");
         EXPECT_EQ((CallSlot<const wchar_t*>(languages, 5)), nullptr);
         EXPECT_TRUE((CallSlot<bool, const wchar_t*>(languages, 6, L"en-US")));
         EXPECT_TRUE((CallSlot<bool, const wchar_t*>(languages, 7, L"he-IL")));
         EXPECT_FALSE((CallSlot<bool, const wchar_t*>(languages, 7, L"en-US")));
         EXPECT_FALSE((CallSlot<bool, const wchar_t*>(languages, 2, nullptr)));
         EXPECT_FALSE((CallSlot<bool, const wchar_t*>(languages, 8, L"xx-XX")));
         EXPECT_TRUE((CallSlot<bool, const wchar_t*>(languages, 8, L"he-IL")));
         EXPECT_EQ(list->size(), 1u);
       }},
      {"message box provider of the engine: the library shows through slot 2",
       [](SlotOrderTest* t) {
         Foreign box = {Table(ForeignNoop, ForeignDestroy, ForeignShow, ForeignNoop)};
         VariableStore::Instance().Put("MessageBox", reinterpret_cast<StoreValue>(&box));
         std::wstring element = L"<ForceSingleInstance eventName='" + UniqueName(L"SlotGuard") + L"'/>";
         EXPECT_EQ(t->Run(t->Add(element)), 0);
         EXPECT_EQ(t->Run(t->Add(element)), 1359);
         VariableStore::Instance().Put("MessageBox", 0);
         EXPECT_EQ(box.seen, L"||0|2") << "no resource manager: empty texts, buttons 0, icon 2";
       }},
  };
  for (const SlotRow& row : rows) {
    SCOPED_TRACE(row.name);
    row.check(this);
  }
}
