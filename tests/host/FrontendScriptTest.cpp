// Fault caught: a second installer not refused with 183, or switches that do not reach the script.
#include <thread>

#include "tests/host/HostRun.h"

TEST_F(HostRunTest, SecondInstanceIsRefusedWith183AndTheCommandLineReachesTheScript) {
  std::wstring id = L"HostGuard" + std::to_wstring(GetCurrentProcessId());
  std::wstring hold = L"Local\\" + id + L"Hold";
  HANDLE release = CreateEventW(nullptr, TRUE, FALSE, hold.c_str());
  std::string narrowId(id.begin(), id.end());
  std::wstring first = Script(R"(<install><commands>
    <ForceSingleInstance eventName=")" + narrowId + R"("/>
    <CreateEvent eventVar="Hold" eventName="Local\)" + narrowId + R"(Hold" manualReset="1"/>
    <WaitForHandle eventVar="Hold" waitAmount="20000" next="0"/>
  </commands></install>)");
  std::wstring second = Script(R"(<install><commands>
    <ArchitectureCheck/>
    <ForceSingleInstance eventName=")" + narrowId + R"(" next="0"/>
  </commands></install>)");

  ProcessResult firstRun;
  std::thread running([&] { firstRun = RunInstaller(L"/trace " + first); });
  std::wstring mark = L"Local\\" + id;
  HANDLE seen = nullptr;
  for (int i = 0; i < 200; ++i) {
    seen = OpenEventW(SYNCHRONIZE, FALSE, mark.c_str());
    if (seen != nullptr && WaitForSingleObject(seen, 0) == WAIT_OBJECT_0) break;
    if (seen != nullptr) CloseHandle(seen);
    seen = nullptr;
    Sleep(50);
  }
  EXPECT_NE(seen, nullptr) << "the first instance never marked itself";
  ProcessResult secondRun = RunInstaller(L"/trace /autoanswer " + second);
  SetEvent(release);
  running.join();
  if (seen != nullptr) CloseHandle(seen);
  CloseHandle(release);

  EXPECT_EQ(firstRun.exitCode, 0u) << firstRun.err;
  EXPECT_EQ(secondRun.exitCode, 183u) << secondRun.err;
  EXPECT_TRUE(Has(secondRun.err, "Installer: message box '': "
                                 " (buttons 0, icon 2, answered 0)\n"))
      << "no resource manager: empty texts, answered by the engine";

  // The progress commands take no execCondition; a SetEvent on an empty variable
  // shows through its message whether int_IsUpdate was set.
  std::wstring script = Script(R"(<install><commands>
    <CreateEvent eventVar="InstallProgressEv"/>
    <VltCommandLineParser/>
    <SetEvent eventVar="UpdateMarker" execCondition="IsUpdate"/>
    <VltUpdateProgress progress="40"/>
    <VltSetError reason="Disk full" next="0"/>
  </commands></install>)");
  ProcessResult run = RunInstaller(L"/trace " + script + L" /silent /path=C:\\Target\\ /lang=de-DE");
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_TRUE(Has(run.err, "[Main] Command 3 not required.\n")) << run.err;

  ProcessResult update = RunInstaller(L"/trace " + script + L" /update");
  EXPECT_TRUE(Has(update.err, "HANDLE_UpdateMarker doesn't contain an event to set!\n")) << update.err;
}
