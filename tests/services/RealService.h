// Real services for the tests of the service commands, run from the test binary
// TestService.exe (built beside the tests, in tests\services). Its switches go
// into the binary path: see TestService.cpp.
//
// Services live in the Wine prefix's registry and outlive the test program, so
// every test gives each service a name of its own and removes it afterwards.
#pragma once

#include <windows.h>

#include <string>

// The full path of TestService.exe, found from the test program's folder.
std::wstring TestServiceBinary();
// A binary path for a service: the quoted program followed by switches.
std::wstring TestServicePath(const std::wstring& switches);

// Creates a demand-start service of the test binary, or of binaryPath as given.
bool InstallTestService(const std::wstring& name, const std::wstring& switches);
bool InstallServiceWithPath(const std::wstring& name, const std::wstring& binaryPath);
bool ServiceExists(const std::wstring& name);
// The current state (SERVICE_RUNNING, ...), or 0 when it cannot be queried.
DWORD ServiceState(const std::wstring& name);
// Polls every 50 ms for at most timeoutMs.
bool WaitForServiceState(const std::wstring& name, DWORD state, DWORD timeoutMs = 10000);
// Sends a control to the service; the error of the manager, or 0.
DWORD SendServiceControl(const std::wstring& name, DWORD control);
DWORD StartTestService(const std::wstring& name);

// Ends the service whatever it does (one that refuses to stop too) and deletes
// it, within about 15 seconds. A service that is not there is left alone.
void RemoveTestService(const std::wstring& name);

// The user control that ends the test service even when it refuses to stop.
const DWORD kTestServiceEnd = 200;
