// The platform probes against real processes: this program starts copies of
// itself as children and grandchildren that probe their parents.
#include <windows.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "probes/Platform.h"
#include "engine/interfaces/WinapiInterface.h"

namespace {

std::wstring SelfPath() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return path;
}

std::wstring TempFile(const wchar_t* stem) {
  wchar_t folder[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, folder);
  return std::wstring(folder) + stem + L"-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
         std::to_wstring(GetTickCount()) + L".txt";
}

void WriteUtf16(const std::wstring& path, const std::wstring& text) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  DWORD written = 0;
  WriteFile(file, text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)), &written, nullptr);
  CloseHandle(file);
}

std::wstring ReadUtf16(const std::wstring& path) {
  std::ifstream file(path.c_str(), std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  return std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t));
}

// Starts this program with arguments and waits at most 20 s for it.
bool RunSelf(const std::wstring& arguments, bool wait = true) {
  std::wstring line = L"\"" + SelfPath() + L"\" " + arguments;
  STARTUPINFOW startup = {sizeof(startup)};
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) return false;
  bool ended = !wait || WaitForSingleObject(process.hProcess, 20000) == WAIT_OBJECT_0;
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  return ended;
}

// Child modes. "--report <file>": write what the probes say of the parent.
// "--orphan <file> <event>": start a grandchild in "--after-parent" mode and end.
// "--after-parent <file> <event>": wait until the parent has ended and the test has
// let go of it (the event), then probe it.
int ChildMain(int argc, wchar_t** argv) {
  std::wstring mode = argv[1];
  std::wstring file = argv[2];
  if (mode == L"--report") {
    WriteUtf16(file, std::to_wstring(GetParentProcessId()) + L"\n" + GetParentImagePath() + L"\n" +
                         GetParentCommandLine());
  } else if (mode == L"--orphan") {
    RunSelf(L"--after-parent \"" + file + L"\" " + argv[3], false);
  } else if (mode == L"--after-parent") {
    HANDLE parent = OpenProcess(SYNCHRONIZE, FALSE, GetParentProcessId());
    if (parent != nullptr) {
      WaitForSingleObject(parent, 10000);
      CloseHandle(parent);
    }
    HANDLE released = OpenEventW(SYNCHRONIZE, FALSE, argv[3]);
    if (released != nullptr) {
      WaitForSingleObject(released, 10000);
      CloseHandle(released);
    }
    WriteUtf16(file, L"[" + GetParentCommandLine() + L"]");
  }
  return 0;
}

template <class R, class... A>
R CallSlot(void* object, int slot, A... args) {
  using Fn = R (*)(void*, A...);
  return reinterpret_cast<Fn>((*reinterpret_cast<void***>(object))[slot])(object, args...);
}

}  // namespace

TEST(ProbesTest, SixtyFourBitBuildOnASixtyFourBitSystem) {
  EXPECT_TRUE(IsSystem64Bit());
  EXPECT_FALSE(IsProcessWow64());
}

TEST(ProbesTest, ChildSeesItsParent) {
  std::wstring report = TempFile(L"probe");
  ASSERT_TRUE(RunSelf(L"--report \"" + report + L"\" marker-1234"));
  std::wstring text = ReadUtf16(report);
  DeleteFileW(report.c_str());
  size_t first = text.find(L'\n');
  size_t second = text.find(L'\n', first + 1);
  ASSERT_NE(second, std::wstring::npos) << "no report";
  EXPECT_EQ(text.substr(0, first), std::to_wstring(GetCurrentProcessId()));
  std::wstring image = text.substr(first + 1, second - first - 1);
  std::wstring self = SelfPath();
  std::wstring name = self.substr(self.find_last_of(L'\\'));
  EXPECT_EQ(image.substr(image.size() - name.size()), name) << "image path names this program";
  EXPECT_EQ(text.substr(second + 1), std::wstring(GetCommandLineW()));
}

// Wine still opens an ended process by its id while one of its children lives, and
// names its image; Windows does not. What both agree on is that its memory is
// gone, so the command line is empty; a process that never existed has no image.
TEST(ProbesTest, EndedOrMissingProcessGivesEmptyTexts) {
  std::wstring report = TempFile(L"orphan");
  std::wstring eventName = L"Local\\probe-released-" + std::to_wstring(GetCurrentProcessId());
  HANDLE released = CreateEventW(nullptr, TRUE, FALSE, eventName.c_str());
  // RunSelf closes its handles on the middle process before the event lets the
  // grandchild probe: an open handle would keep the ended process queryable.
  ASSERT_TRUE(RunSelf(L"--orphan \"" + report + L"\" " + eventName));
  SetEvent(released);
  DWORD start = GetTickCount();
  while (GetFileAttributesW(report.c_str()) == INVALID_FILE_ATTRIBUTES && GetTickCount() - start < 15000) Sleep(20);
  Sleep(100);
  std::wstring text = ReadUtf16(report);
  DeleteFileW(report.c_str());
  CloseHandle(released);
  EXPECT_EQ(text, L"[]");
  EXPECT_EQ(GetProcessImagePath(0xFFFFFFF0), L"");
}

TEST(ProbesTest, RunAndWaitRunsHiddenInTheGivenFolderAndWaits) {
  wchar_t temp[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, temp);
  std::wstring folder = std::wstring(temp) + L"runandwait-" + std::to_wstring(GetCurrentProcessId());
  CreateDirectoryW(folder.c_str(), nullptr);
  ASSERT_TRUE(RunAndWait(L"cmd /c echo done> made.txt", folder.c_str()));
  std::wstring made = folder + L"\\made.txt";
  EXPECT_NE(GetFileAttributesW(made.c_str()), INVALID_FILE_ATTRIBUTES) << "the child ran in the folder and had ended";
  DeleteFileW(made.c_str());
  RemoveDirectoryW(folder.c_str());
  EXPECT_FALSE(RunAndWait(L"no-such-program-here.exe", nullptr));
}

TEST(WinapiInterfaceTest, CallsSitInTheirSlots) {
  CWinapiInterface* api = new CWinapiInterface();
  CRITICAL_SECTION section;
  CallSlot<void, LPCRITICAL_SECTION>(api, 1, &section);
  CallSlot<void, LPCRITICAL_SECTION>(api, 3, &section);
  EXPECT_EQ(section.RecursionCount, 1);
  CallSlot<void, LPCRITICAL_SECTION>(api, 4, &section);
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
}

int wmain(int argc, wchar_t** argv) {
  if (argc >= 3 && argc <= 5 && std::wstring(argv[1]).compare(0, 2, L"--") == 0 && std::wstring(argv[1]) != L"--gtest_filter") {
    return ChildMain(argc, argv);
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
