// Fault caught: a library planted in the current folder loaded into the installer.
#include "tests/support/PluginFixture.h"

TEST_F(PluginTest, AnUnrarLibraryOutsideThePluginsFolderIsNotLoaded) {
  ASSERT_FALSE(Exists(ProgramFolder() + L"unrar64.dll")) << "this program must run without the library beside it";
  std::wstring folder = NewTempFolder(L"planted");
  ASSERT_TRUE(CopyFileW((ProgramFolder() + L"..\\..\\bin\\unrar64.dll").c_str(), (folder + L"unrar64.dll").c_str(),
                        FALSE));
  wchar_t current[MAX_PATH] = {};
  GetCurrentDirectoryW(MAX_PATH, current);
  SetCurrentDirectoryW(folder.c_str());
  size_t mark = log_->Mark();
  EXPECT_EQ(Run(Add(L"<Unrar index='1' archive='" + folder + L"a.rar' destination='" + folder + L"out'/>")), 0);
  SetCurrentDirectoryW(current);
  RemoveTree(folder);
  EXPECT_EQ(GetModuleHandleW(L"unrar64.dll"), nullptr);
  EXPECT_EQ(log_->Work(mark)[1],
            L"1: Unrar Could not load the UnRAR library " + ProgramFolder() + L"unrar64.dll. errCode 126.\n");
}
