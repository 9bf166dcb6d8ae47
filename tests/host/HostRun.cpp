#include "tests/host/HostRun.h"

std::wstring BinFolder() { return ProgramFolder() + L"..\\..\\bin\\"; }

ProcessResult RunInstaller(const std::wstring& arguments) {
  return RunProcess(L"\"" + BinFolder() + L"Installer.exe\" " + arguments);
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::wstring HostRunTest::Script(const std::string& body) {
  std::wstring path = folder_ + L"script" + std::to_wstring(scripts_++) + L".xml";
  WriteAll(path, body);
  return L"\"" + path + L"\"";
}
