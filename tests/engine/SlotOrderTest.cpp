// The engine calls the library's objects, and the library the engine's, through
// vtable slots by number. These tests call and publish objects through raw slot
// indexes, as a host built by another compiler would, so a shifted slot shows.
#include <cstdarg>
#include <cwchar>

#include "engine/Format.h"
#include "engine/ForkCommand.h"
#include "host/MultiStrings.h"
#include "host/VariableStore.h"
#include "tests/support/PluginFixture.h"

namespace {

void** VTable(void* object) { return *reinterpret_cast<void***>(object); }

template <class R, class... A>
R CallSlot(void* object, int slot, A... args) {
  using Fn = R (*)(void*, A...);
  return reinterpret_cast<Fn>(VTable(object)[slot])(object, args...);
}

// An object laid out as a foreign compiler would lay it out: a pointer to a table
// of plain functions that take the object first.
struct ForeignObject {
  void** vtable;
};

std::wstring g_foreignLines;
int g_foreignStarts = 0;

void ForeignNoop(ForeignObject*) {}
void* ForeignDestroy(ForeignObject* self, unsigned int) { return self; }
void ForeignLog(ForeignObject*, const wchar_t* format, va_list args) {
  wchar_t* text = FormatWideV(format, args);
  g_foreignLines += text;
  free(text);
}
void ForeignStartThreadLog(ForeignObject*, const wchar_t*, bool) { ++g_foreignStarts; }
void ForeignSetLogKey(ForeignObject*, const char*) {}

// Strips a marker, so that a number only reads right when it went through slot 2.
std::wstring g_decrypted;
wchar_t* ForeignDecrypt(ForeignObject*, const wchar_t* text) {
  g_decrypted = text;
  if (g_decrypted.compare(0, 4, L"enc:") == 0) g_decrypted.erase(0, 4);
  return &g_decrypted[0];
}

}  // namespace

class SlotOrderTest : public PluginTest {};

TEST_F(SlotOrderTest, CommandOperationsSitInTheirSlots) {
  typedef CInstallCommand* (*Factory)();
  auto factory = reinterpret_cast<Factory>(reinterpret_cast<void*>(GetProcAddress(Plugin(), "GetCSetEventCommand")));
  ASSERT_NE(factory, nullptr);
  void* command = factory();

  EXPECT_EQ((CallSlot<int32_t>(command, 2)), -1);                       // GetIndex
  CallSlot<void, int32_t>(command, 5, 7);                               // SetIndex
  EXPECT_EQ((CallSlot<int32_t>(command, 2)), 7);
  EXPECT_EQ((CallSlot<int32_t>(command, 3)), 8);                        // GetNextIndex
  EXPECT_TRUE((CallSlot<bool>(command, 8)));                            // IsRequired

  std::wstring eventVar = UniqueName(L"Slot");
  IXMLDOMNamedNodeMap* attributes =
      ParseAttributes(L"<SetEvent index='4' next='9' execCondition='Never' eventVar='" + eventVar + L"'/>");
  EXPECT_EQ((CallSlot<int32_t, IXMLDOMNamedNodeMap*>(command, 6, attributes)), 0);  // Load
  EXPECT_EQ((CallSlot<int32_t>(command, 2)), 4);
  EXPECT_FALSE((CallSlot<bool>(command, 8)));  // int_Never is unset

  IXMLDOMNamedNodeMap* raw = ParseAttributes(L"<SetEvent index='12' next='30'/>");
  EXPECT_EQ((CallSlot<int32_t, IXMLDOMNamedNodeMap*>(command, 7, raw)), 0);  // LoadIndexes
  raw->Release();
  EXPECT_EQ((CallSlot<int32_t>(command, 2)), 12);

  HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::string name = "HANDLE_" + std::string(eventVar.begin(), eventVar.end());
  VariableStore::Instance().Put(name.c_str(), reinterpret_cast<StoreValue>(event));
  EXPECT_EQ((CallSlot<int32_t, HANDLE, CRITICAL_SECTION*>(command, 4, INVALID_HANDLE_VALUE, &storeLock_)), 0);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
  EXPECT_EQ((CallSlot<int32_t>(command, 3)), 30);

  CallSlot<void>(command, 0);  // Free
}

TEST_F(SlotOrderTest, DeletingDestructorHonoursItsFlags) {
  // Slot 1 with flags 0 destroys without freeing, as a host that placed the object
  // itself would call it; the memory stays the caller's.
  typedef CInstallCommand* (*Factory)();
  auto factory = reinterpret_cast<Factory>(reinterpret_cast<void*>(GetProcAddress(Plugin(), "GetCJoinCommand")));
  CInstallCommand* command = factory();
  IXMLDOMNamedNodeMap* attributes = ParseAttributes(L"<Join threadId='1' condition='c' strValue='s'/>");
  ASSERT_EQ(command->Load(attributes), 0);
  void* self = CallSlot<void*, unsigned int>(command, 1, 0u);
  EXPECT_EQ(self, command);
  ::operator delete(self);
}

TEST_F(SlotOrderTest, LibraryLogsThroughSlotTwoOfAForeignLogger) {
  static void* table[] = {reinterpret_cast<void*>(ForeignNoop), reinterpret_cast<void*>(ForeignDestroy),
                          reinterpret_cast<void*>(ForeignLog), reinterpret_cast<void*>(ForeignStartThreadLog),
                          reinterpret_cast<void*>(ForeignSetLogKey)};
  ForeignObject logger = {table};
  g_foreignLines.clear();
  VariableStore::Instance().Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(&logger));

  std::wstring eventVar = UniqueName(L"Foreign");
  CInstallCommand* command = CreateCommand(L"<SetEvent index='3' eventVar='" + eventVar + L"'/>");
  ASSERT_NE(command, nullptr);
  command->Execute(INVALID_HANDLE_VALUE, &storeLock_);
  VariableStore::Instance().Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(log_));
  EXPECT_EQ(g_foreignLines,
            L"3: SetEvent Begin execute.\nHANDLE_" + eventVar + L" doesn't contain an event to set!\n");
  command->Free();
}

TEST_F(SlotOrderTest, LibraryDecryptsThroughSlotTwoOfAForeignDecrypter) {
  static void* table[] = {reinterpret_cast<void*>(ForeignNoop), reinterpret_cast<void*>(ForeignDestroy),
                          reinterpret_cast<void*>(ForeignDecrypt)};
  ForeignObject decrypter = {table};
  StoreValue own = VariableStore::Instance().Get("SelfFree_Decrypter");
  VariableStore::Instance().Put("SelfFree_Decrypter", reinterpret_cast<StoreValue>(&decrypter));
  int32_t status = -1;
  CInstallCommand* command = CreateCommand(L"<Fork index='enc:5' threadId='enc:3' threadStart='enc:0x20'/>", &status);
  VariableStore::Instance().Put("SelfFree_Decrypter", own);
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(command->GetIndex(), 5);
  auto* fork = static_cast<CForkCommand*>(command);
  EXPECT_EQ(fork->threadId, 3);
  EXPECT_EQ(fork->threadStart, 32);
  command->Free();
}

TEST(EngineObjectSlots, MultiStringListOperationsSitInTheirSlots) {
  CMultiStringApi api;
  void* list = CallSlot<void*>(&api, 2);  // CreateList
  ASSERT_NE(list, nullptr);
  CallSlot<void, const wchar_t*>(list, 3, L"one");  // AddString
  CallSlot<void, const wchar_t*>(list, 3, L"two");
  EXPECT_EQ((CallSlot<int32_t>(list, 8)), 2);                             // GetCount
  EXPECT_STREQ((CallSlot<const wchar_t*, int32_t>(list, 2, 1)), L"two");  // GetItem
  EXPECT_EQ((CallSlot<const wchar_t*, int32_t>(list, 2, 2)), nullptr);
  EXPECT_EQ((CallSlot<int32_t>(list, 9)), 9);                             // GetLength: one\0two\0\0
  const wchar_t* flat = CallSlot<wchar_t*>(list, 10);                      // GetBuffer
  EXPECT_EQ(std::wstring(flat, 9), std::wstring(L"one\0two\0\0", 9));
  CallSlot<void>(list, 11);  // ReleaseBuffer
  CallSlot<void>(list, 0);   // Free
}

TEST(EngineObjectSlots, ValueTextKeepsItsFieldAfterTheTable) {
  // Readers of String_ variables take the text right behind the table pointer.
  CString* value = MakeString(L"text");
  EXPECT_STREQ(reinterpret_cast<wchar_t**>(value)[1], L"text");
  CallSlot<void>(value, 0);
}

TEST(LogFormat, WideAndNarrowTextsFollowMicrosoftRules) {
  auto format = [](const wchar_t* f, ...) {
    va_list args;
    va_start(args, f);
    wchar_t* text = FormatWideV(f, args);
    va_end(args);
    std::wstring result = text;
    free(text);
    return result;
  };
  EXPECT_EQ(format(L"%i: %s '%S' %I64u", 3, L"wide", "narrow", 0x100000000ull), L"3: wide 'narrow' 4294967296");
}
