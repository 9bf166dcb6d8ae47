#include "probes/GuardCommands.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "engine/interfaces/ResourceManager.h"
#include "engine/Bounded.h"
#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/interfaces/MessageBoxProvider.h"
#include "probes/Platform.h"

namespace {

const int32_t kMessageCapacity = 260;
const size_t kEventNameCapacity = 100;
const wchar_t kDefaultInstanceEvent[] = L"{5AF88D85-B1ED-4FA0-A26E-C13E7A7AD060}";

void LookUp(IResourceManager* resources, uint32_t id, const wchar_t* key, wchar_t* buffer) {
  if (resources == nullptr) return;
  if (resources->GetStringById(id, buffer, kMessageCapacity) < 1) resources->GetString(key, buffer, kMessageCapacity);
}

}  // namespace

void ShowResourceMessage(uint32_t textId, const wchar_t* textKey, uint32_t titleId, const wchar_t* titleKey) {
  // Without a resource manager the message still shows, with empty texts; without
  // a provider nobody is asked.
  IResourceManager* resources = StoreGetObject<IResourceManager>("SelfFree_ResourceManager");
  wchar_t text[kMessageCapacity] = {};
  wchar_t title[kMessageCapacity] = {};
  LookUp(resources, textId, textKey, text);
  LookUp(resources, titleId, titleKey, title);
  ShowStoredMessage(text, title, kButtonsOk, kIconError);
}

CArchitectureCheckCommand::~CArchitectureCheckCommand() {
  free(forceArchitectureVar);
  forceArchitectureVar = nullptr;
}

int32_t CArchitectureCheckCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadNumber(L"forceArchitecture", &forceArchitecture);
  wchar_t* text = nullptr;
  if (reader.ReadText(L"forceArchitectureVar", &text) == S_OK) {
    char narrow[260] = {};
    int length = static_cast<int>(wcslen(text));
    // A name that does not narrow to one byte a character is dropped.
    if (WideCharToMultiByte(CP_ACP, 0, text, -1, narrow, sizeof(narrow), nullptr, nullptr) == length + 1) {
      free(forceArchitectureVar);
      forceArchitectureVar = static_cast<char*>(calloc(length + 50, 1));
      BoundedFormatA(forceArchitectureVar, length + 50, "int_%s", narrow);
    }
  }
  return kStatusOk;
}

int32_t CArchitectureCheckCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  LogBegin(kTag);
  int32_t status = kStatusOk;
  int32_t force = forceArchitectureVar != nullptr ? StoreGetInt32(forceArchitectureVar) : forceArchitecture;
  if (IsSystem64Bit()) {
    StorePut("int_x64", 1);
    StorePut("int_x86", 0);
    StorePutObject("String_Arhitecture", MakeString(L"x64"));
    LogMessage(L"%i: %s System is x64.\n", index, kTag);
    // Only a 32-bit build of the library can run under WOW64.
    if (IsProcessWow64() && force != 0) {
      LogMessage(L"%i: %s Failed.\n", index, kTag);
      ShowResourceMessage(kIdsWrongArchitectureText, L"IDS_WrongArchitectureText", kIdsWrongArchitectureTitle,
                          L"IDS_WrongArchitectureTitle");
      StorePut("int_ReturnCode", kStatusWrongArchitecture);
      status = kStatusWrongArchitecture;
    }
  } else {
    StorePut("int_x64", 0);
    StorePut("int_x86", 1);
    StorePutObject("String_Arhitecture", MakeString(L"x86"));
    LogMessage(L"%i: %s System is x86.\n", index, kTag);
  }
  return FinishExecute(kTag, status);
}

CForceSingleInstanceCommand::~CForceSingleInstanceCommand() {
  free(eventName);
  eventName = nullptr;
}

int32_t CForceSingleInstanceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadCopy(L"eventName", &eventName);
  int32_t number = 0;
  if (reader.ReadNumber(L"ignoreInstallerParent", &number) == S_OK) ignoreInstallerParent = number == 1;
  return kStatusOk;
}

int32_t CForceSingleInstanceCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  LogBegin(kTag);
  int32_t status = kStatusOk;
  const wchar_t* ownName = kDefaultInstanceEvent;
  if (eventName != nullptr) {
    wchar_t* expanded = nullptr;
    if (ExpandVariables(eventName, &expanded) && expanded != nullptr) {
      free(eventName);
      eventName = expanded;
    }
    ownName = eventName;
  }
  wchar_t name[kEventNameCapacity];
  BoundedFormat(name, kEventNameCapacity, L"Local\\%s", ownName);
  HANDLE event = CreateEventW(nullptr, TRUE, FALSE, name);
  if (event != nullptr && event != INVALID_HANDLE_VALUE) {
    bool pass = true;
    if (WaitForSingleObject(event, 0) == WAIT_OBJECT_0) {
      // Another instance has signalled the event. A parent that is a copy of this
      // installer may hand over to its child.
      pass = ignoreInstallerParent && GetProcessImagePath(GetCurrentProcessId()) == GetParentImagePath();
    }
    if (pass) {
      StorePutObject("HANDLE_SingleInstance", event);
      SetEvent(event);
    } else {
      // The handle stays open: the mark lives as long as this process.
      LogMessage(L"%i: %s Single instance check failed.\n", index, kTag);
      ShowResourceMessage(kIdsSingleInstanceText, L"IDS_SingleInstanceText", kIdsSingleInstanceTitle,
                          L"IDS_SingleInstanceTitle");
      StorePut("int_ReturnCode", 183);
      status = kStatusBusy;
    }
  }
  return FinishExecute(kTag, status);
}
