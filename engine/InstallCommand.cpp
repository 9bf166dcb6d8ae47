#include "engine/InstallCommand.h"

#include <cstdlib>
#include <cwchar>

#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/VarName.h"

CInstallCommand::CInstallCommand() : index(-1), next(-1), executed(false) { InitializeCriticalSection(&lock); }

CInstallCommand::~CInstallCommand() { DeleteCriticalSection(&lock); }

int32_t CInstallCommand::GetIndex() { return index; }

int32_t CInstallCommand::GetNextIndex() {
  // A skipped command is asked for its next index without having run; the warning
  // is the expected trace of every skipped first visit.
  if (!executed) LogMessage(enginetext::kNextBeforeExecute);
  return next < 0 ? index + 1 : next;
}

int32_t CInstallCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!TryEnterCriticalSection(&lock)) {
    LogMessage(enginetext::kBaseBusy);
    return kStatusBusy;
  }
  executed = true;
  LeaveCriticalSection(&lock);
  return kStatusOk;
}

void CInstallCommand::SetIndex(int32_t newIndex) { index = newIndex; }

int32_t CInstallCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  AttributeReader reader(attributes);
  reader.ReadNumber(L"index", &index);
  reader.ReadNumber(L"next", &next);

  wchar_t* text = nullptr;
  HRESULT hr = reader.ReadText(L"errVar", &text);
  if (hr == S_OK) {
    VarName name(text);
    if (!name) return static_cast<int32_t>(GetLastError());
    errVar = std::move(name);
  } else if (!reader.LastWasAbsent()) {
    return static_cast<int32_t>(hr);
  }

  hr = reader.ReadText(L"execCondition", &text);
  if (hr == S_OK) {
    execCondition = VarName("int_", text);
  } else if (!reader.LastWasAbsent()) {
    return static_cast<int32_t>(hr);
  }
  return kStatusOk;
}

int32_t CInstallCommand::LoadIndexes(IXMLDOMNamedNodeMap* attributes) {
  if (attributes == nullptr) throw ComError{E_POINTER};
  const wchar_t* names[2] = {L"index", L"next"};
  int32_t* fields[2] = {&index, &next};
  for (int i = 0; i < 2; ++i) {
    ScopedCom<IXMLDOMNode> node;
    // A name that cannot be made goes to the map as null, as it always has.
    if (attributes->getNamedItem(ScopedBstr(SysAllocString(names[i])).Get(), node.Receive()) != S_OK || !node) {
      continue;
    }
    ScopedBstr text;
    if (node.Get()->get_text(text.Receive()) == S_OK) *fields[i] = static_cast<int32_t>(_wtol(text.Get()));
  }
  return kStatusOk;
}

bool CInstallCommand::IsRequired() {
  if (!execCondition) return true;
  return StoreGet(execCondition.Get()) != 0;
}

int32_t CInstallCommand::SetErrorVar() {
  if (!errVar) return kStatusInvalidParameter;
  StorePut(VarName("int_", errVar.Get()).Get(), 1);
  return kStatusOk;
}

void CInstallCommand::LoadCommon(IXMLDOMNamedNodeMap* attributes) {
  if (attributes != nullptr) attributes->AddRef();
  CInstallCommand::Load(attributes);
}

