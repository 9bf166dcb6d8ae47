#include "probes/GuardCommands.h"

#include <cwchar>

#include "engine/interfaces/ResourceManager.h"
#include "engine/Bounded.h"
#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "engine/VarName.h"
#include "engine/interfaces/MessageBoxProvider.h"
#include "probes/Platform.h"
#include "probes/ProbeTexts.h"

namespace {

const int32_t kMessageCapacity = 260;
const size_t kEventNameCapacity = 100;
// The buffer the force variable's name has always been narrowed in, in bytes.
const size_t kForceNameBytes = 260;

void LookUp(IResourceManager* resources, uint32_t id, const wchar_t* key, wchar_t* buffer) {
  if (resources == nullptr) return;
  if (resources->GetStringById(id, buffer, kMessageCapacity) < 1) resources->GetString(key, buffer, kMessageCapacity);
}

}  // namespace

void ShowResourceMessage(uint32_t textId, const wchar_t* textKey, uint32_t titleId, const wchar_t* titleKey) {
  // Without a resource manager the message still shows, with empty texts; without
  // a provider nobody is asked.
  IResourceManager* resources = StoreGetObject<IResourceManager>(storename::kResourceManager);
  wchar_t text[kMessageCapacity] = {};
  wchar_t title[kMessageCapacity] = {};
  LookUp(resources, textId, textKey, text);
  LookUp(resources, titleId, titleKey, title);
  ShowStoredMessage(text, title, kButtonsOk, kIconError);
}

int32_t CArchitectureCheckCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadNumber(L"forceArchitecture", &forceArchitecture);
  wchar_t* text = nullptr;
  if (reader.ReadText(L"forceArchitectureVar", &text) == S_OK) {
    // A name that does not narrow to one byte a character, or does not fit its
    // buffer, is dropped.
    VarName name("int_", text, Narrowing::OneBytePerCharacter);
    if (name && wcslen(text) + 1 <= kForceNameBytes) forceArchitectureVar = std::move(name);
  }
  return kStatusOk;
}

int32_t CArchitectureCheckCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  int32_t status = kStatusOk;
  int32_t force = forceArchitectureVar ? StoreGetInt32(forceArchitectureVar.Get()) : forceArchitecture;
  if (IsSystem64Bit()) {
    StorePut(storename::kX64, 1);
    StorePut(storename::kX86, 0);
    StorePutObject(storename::kArchitecture, MakeString(probetext::kArchitectureX64));
    LogMessage(probetext::kSystemIsX64, index, kTag);
    // Only a 32-bit build of the library can run under WOW64.
    if (IsProcessWow64() && force != 0) {
      LogMessage(probetext::kArchitectureFailed, index, kTag);
      ShowResourceMessage(kIdsWrongArchitectureText, probetext::kWrongArchitectureTextKey,
                          kIdsWrongArchitectureTitle, probetext::kWrongArchitectureTitleKey);
      StorePut(storename::kReturnCode, kStatusWrongArchitecture);
      status = kStatusWrongArchitecture;
    }
  } else {
    StorePut(storename::kX64, 0);
    StorePut(storename::kX86, 1);
    StorePutObject(storename::kArchitecture, MakeString(probetext::kArchitectureX86));
    LogMessage(probetext::kSystemIsX86, index, kTag);
  }
  return frame.Done(status);
}

int32_t CForceSingleInstanceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadCopy(L"eventName", eventName);
  int32_t number = 0;
  if (reader.ReadNumber(L"ignoreInstallerParent", &number) == S_OK) ignoreInstallerParent = number == 1;
  return kStatusOk;
}

int32_t CForceSingleInstanceCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  int32_t status = kStatusOk;
  const wchar_t* ownName = probetext::kDefaultInstanceEvent;
  if (eventName) {
    // A name that does not expand is used as it stands.
    ExpandField(eventName, OnFailure::KeepText);
    ownName = eventName.Get();
  }
  wchar_t name[kEventNameCapacity];
  BoundedFormat(name, kEventNameCapacity, probetext::kInstanceEventFormat, ownName);
  ScopedKernelHandle event(CreateEventW(nullptr, TRUE, FALSE, name));
  if (event) {
    bool pass = true;
    if (WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0) {
      // Another instance has signalled the event. A parent that is a copy of this
      // installer may hand over to its child.
      pass = ignoreInstallerParent && GetProcessImagePath(GetCurrentProcessId()) == GetParentImagePath();
    }
    if (pass) {
      // The store holds the mark from here on.
      StorePutObject(storename::kSingleInstance, event.Get());
      SetEvent(event.Get());
      event.Release();
    } else {
      // The handle stays open: the mark lives as long as this process.
      event.Release();
      LogMessage(probetext::kSingleInstanceFailed, index, kTag);
      ShowResourceMessage(kIdsSingleInstanceText, probetext::kSingleInstanceTextKey, kIdsSingleInstanceTitle,
                          probetext::kSingleInstanceTitleKey);
      StorePut(storename::kReturnCode, kReturnCodeAlreadyRunning);
      status = kStatusBusy;
    }
  }
  return frame.Done(status);
}
