#include "probes/Platform.h"

#include <cstdlib>
#include <cstring>
#include <vector>

#include "engine/ScopedHandle.h"

namespace {

typedef BOOL(WINAPI* IsWow64ProcessFn)(HANDLE, PBOOL);
typedef LONG(WINAPI* QueryInformationProcessFn)(HANDLE, ULONG, PVOID, ULONG, PULONG);

// Rewritten by every look-up, always with the same value.
IsWow64ProcessFn g_isWow64Process = nullptr;

// The layout of PROCESS_BASIC_INFORMATION on x64: 48 bytes.
struct BasicInformation {
  LONG exitStatus;
  void* pebBaseAddress;
  ULONG_PTR affinityMask;
  LONG basePriority;
  ULONG_PTR uniqueProcessId;
  ULONG_PTR inheritedFromUniqueProcessId;
};
static_assert(sizeof(BasicInformation) == 48, "PROCESS_BASIC_INFORMATION is 48 bytes on x64");

// Offsets in the x64 PEB and RTL_USER_PROCESS_PARAMETERS.
const size_t kPebSize = 712;
const size_t kPebProcessParameters = 0x20;
const size_t kParametersSize = 128;
const size_t kParametersCommandLine = 0x70;  // UNICODE_STRING: length, maximum, buffer

const ULONG kProcessBasicInformation = 0;
const ULONG kProcessImageFileName = 27;
const DWORD kQueryAccess = PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;  // 0x410

QueryInformationProcessFn QueryInformationProcess() {
  HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  if (ntdll == nullptr) return nullptr;
  return reinterpret_cast<QueryInformationProcessFn>(
      reinterpret_cast<void*>(GetProcAddress(ntdll, "ZwQueryInformationProcess")));
}

BOOL Wow64Flag() {
  g_isWow64Process = reinterpret_cast<IsWow64ProcessFn>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32"), "IsWow64Process")));
  BOOL flag = FALSE;
  if (g_isWow64Process != nullptr) g_isWow64Process(GetCurrentProcess(), &flag);
  return flag;
}

// A process opened for queries; none when it cannot be opened.
ScopedKernelHandle OpenForQuery(DWORD processId) {
  return ScopedKernelHandle(OpenProcess(kQueryAccess, FALSE, processId));
}

}  // namespace

bool IsSystem64Bit() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  if (info.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_INTEL) {
    return info.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64;
  }
  // A 32-bit process sees x86 even on a 64-bit system; WOW64 tells.
  return Wow64Flag() != FALSE;
}

BOOL IsProcessWow64() { return Wow64Flag(); }

DWORD GetParentProcessId() {
  QueryInformationProcessFn query = QueryInformationProcess();
  if (query == nullptr) return 0;
  BasicInformation information = {};
  if (query(GetCurrentProcess(), kProcessBasicInformation, &information, sizeof(information), nullptr) != 0) return 0;
  return static_cast<DWORD>(information.inheritedFromUniqueProcessId);
}

std::wstring GetProcessImagePath(DWORD processId) {
  std::wstring path;
  ScopedKernelHandle process = OpenForQuery(processId);
  QueryInformationProcessFn query = QueryInformationProcess();
  if (!process || query == nullptr) return path;
  // A counted string followed by its text.
  alignas(8) unsigned char buffer[540] = {};
  if (query(process.Get(), kProcessImageFileName, buffer, sizeof(buffer), nullptr) == 0) {
    const wchar_t* text = *reinterpret_cast<const wchar_t* const*>(buffer + 8);
    if (text != nullptr) path = text;
  }
  return path;
}

std::wstring GetParentImagePath() { return GetProcessImagePath(GetParentProcessId()); }

std::wstring GetParentCommandLine() {
  std::wstring commandLine;
  ScopedKernelHandle parent = OpenForQuery(GetParentProcessId());
  QueryInformationProcessFn query = QueryInformationProcess();
  if (!parent || query == nullptr) return commandLine;
  BasicInformation information = {};
  if (query(parent.Get(), kProcessBasicInformation, &information, sizeof(information), nullptr) != 0) {
    return commandLine;
  }
  std::vector<unsigned char> peb(kPebSize);
  if (!ReadProcessMemory(parent.Get(), information.pebBaseAddress, peb.data(), peb.size(), nullptr)) {
    return commandLine;
  }
  void* parametersAddress = nullptr;
  memcpy(&parametersAddress, peb.data() + kPebProcessParameters, sizeof(parametersAddress));
  unsigned char parameters[kParametersSize] = {};
  if (!ReadProcessMemory(parent.Get(), parametersAddress, parameters, sizeof(parameters), nullptr)) {
    return commandLine;
  }
  USHORT length = 0;
  void* textAddress = nullptr;
  memcpy(&length, parameters + kParametersCommandLine, sizeof(length));
  memcpy(&textAddress, parameters + kParametersCommandLine + 8, sizeof(textAddress));
  if (length != 0) {
    std::vector<wchar_t> text(length / sizeof(wchar_t) + 1, L'\0');
    if (ReadProcessMemory(parent.Get(), textAddress, text.data(), length, nullptr)) commandLine = text.data();
  }
  return commandLine;
}

bool RunAndWait(const wchar_t* commandLine, const wchar_t* currentDirectory) {
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_HIDE;
  PROCESS_INFORMATION process = {};
  // CreateProcessW may write into the command line, so it gets a copy.
  std::wstring line = commandLine != nullptr ? commandLine : L"";
  if (!CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, currentDirectory,
                      &startup, &process)) {
    return false;
  }
  ScopedKernelHandle thread(process.hThread);
  ScopedKernelHandle child(process.hProcess);
  WaitForSingleObject(child.Get(), INFINITE);
  return true;
}
