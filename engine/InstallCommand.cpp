#include "engine/InstallCommand.h"

#include <cstdlib>
#include <cwchar>

#include "engine/Log.h"
#include "engine/Store.h"

CInstallCommand::CInstallCommand()
    : index(-1), next(-1), executed(false), errVar(nullptr), execCondition(nullptr) {
  InitializeCriticalSection(&lock);
}

CInstallCommand::~CInstallCommand() {
  DeleteCriticalSection(&lock);
  free(errVar);
  errVar = nullptr;
  free(execCondition);
  execCondition = nullptr;
}

int32_t CInstallCommand::GetIndex() { return index; }

int32_t CInstallCommand::GetNextIndex() {
  // A skipped command is asked for its next index without having run; the warning
  // is the expected trace of every skipped first visit.
  if (!executed) LogMessage(L"[InstallCommand] Warning: GetNextIndex called before Execute\n");
  return next < 0 ? index + 1 : next;
}

int32_t CInstallCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!TryEnterCriticalSection(&lock)) {
    LogMessage(L"[InstallCommand] Error: Multiple threads attempting execution\n");
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
    int size = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size == 0) return static_cast<int32_t>(GetLastError());
    free(errVar);
    errVar = static_cast<char*>(calloc(size + 1, 1));
    if (WideCharToMultiByte(CP_ACP, 0, text, -1, errVar, size, nullptr, nullptr) == 0) {
      DWORD error = GetLastError();
      if (error != 0) return static_cast<int32_t>(error);
    }
  } else if (!reader.LastWasAbsent()) {
    return static_cast<int32_t>(hr);
  }

  hr = reader.ReadText(L"execCondition", &text);
  if (hr == S_OK) {
    free(execCondition);
    execCondition = MakeVarNameW("int_", text);
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
    BSTR name = SysAllocString(names[i]);
    IXMLDOMNode* node = nullptr;
    HRESULT hr = attributes->getNamedItem(name, &node);
    SysFreeString(name);
    if (hr != S_OK || node == nullptr) continue;
    BSTR text = nullptr;
    if (node->get_text(&text) == S_OK) {
      *fields[i] = static_cast<int32_t>(_wtol(text));
      SysFreeString(text);
    }
    node->Release();
  }
  return kStatusOk;
}

bool CInstallCommand::IsRequired() {
  if (execCondition == nullptr) return true;
  return StoreGet(execCondition) != 0;
}

int32_t CInstallCommand::SetErrorVar() {
  if (errVar == nullptr) return kStatusInvalidParameter;
  char* name = MakeVarNameA("int_", errVar);
  StorePut(name, 1);
  free(name);
  return kStatusOk;
}

void CInstallCommand::LoadCommon(IXMLDOMNamedNodeMap* attributes) {
  if (attributes != nullptr) attributes->AddRef();
  CInstallCommand::Load(attributes);
}

bool CInstallCommand::EnterGuard(const wchar_t* tag) {
  if (TryEnterCriticalSection(&lock)) return true;
  LogMessage(L"%i: %s Error: Multiple threads attempting execution.\n", index, tag);
  return false;
}

void CInstallCommand::LogBegin(const wchar_t* tag) { LogMessage(L"%i: %s Begin execute.\n", index, tag); }

int32_t CInstallCommand::FinishExecute(const wchar_t* tag, int32_t status) {
  executed = true;
  LogMessage(L"%i: %s End execute. Next command %i.\n", index, tag, GetNextIndex());
  LeaveCriticalSection(&lock);
  return status;
}
