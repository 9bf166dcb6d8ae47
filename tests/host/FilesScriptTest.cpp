// Fault caught: a file script that leaves the wrong files, links or pending renames behind.
#include "tests/host/HostRun.h"

class FilesScriptTest : public HostRunTest {
 protected:
  void TearDown() override {
    holder_.reset();
    ForgetPendingRenames(folder_);
    if (!moved_.empty()) {
      ForgetPendingRenames(moved_);
      DeleteFileW(moved_.c_str());
    }
    HostRunTest::TearDown();
  }
  std::wstring At(const std::wstring& relative) const { return folder_ + relative; }

  std::unique_ptr<FileHolder> holder_;
  std::wstring moved_;
};

TEST_F(FilesScriptTest, ScriptCopiesMakesRemovesDefersAndLinksAndAnOverrunEndsIt) {
  for (const wchar_t* file : {L"src\\a.txt", L"src\\sub\\b.txt", L"old\\y\\z.txt", L"undo\\u.txt", L"tool.exe",
                              L"desktop\\x", L"programs\\x", L"links\\x"}) {
    WriteAll(At(file), "MZ");
  }
  ASSERT_TRUE(CopyFileW(FileHolder::ProgramPath().c_str(), At(L"app.exe").c_str(), FALSE));
  holder_ = FileHolder::Run(At(L"app.exe"));

  std::string work = Narrow(folder_);
  std::wstring script = Script(R"(<install>
  <variables>
    <variable name="String_Work" value=")" + work + R"("/>
    <variable name="String_CommonDesktopPath" value=")" + work + R"(desktop\"/>
    <variable name="String_CommonPrograms" value=")" + work + R"(programs\"/>
    <variable name="String_ProductName" value="Demo"/>
  </variables>
  <commands>
    <CopyDir index="1" sourceDir="[Work]src\" destinationDir="[Work]copy\"/>
    <CreateDir index="2" path="[Work]made\deep"/>
    <Rmdir index="3" path="[Work]old" recursive="1"/>
    <DeleteFile index="4" pathFile="[Work]app.exe" renameFile="1"/>
    <Rmdir index="5" path="[Work]undo" recursive="1" onlyOnReboot="1"/>
    <UndoMoveFileEx index="6" path="[Work]undo"/>
    <Shortcut index="7" file="tool.exe" currentDir="[Work]" linkName="Demo.lnk" desktop="1" startMenu="1"
              otherPath="[Work]links" arguments="/demo"/>
    <WriteIEADS index="8" pathFile="[Work]tool.exe" next="0"/>
  </commands>
</install>)");
  ProcessResult run = RunInstaller(L"/trace " + script);
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  moved_ = MovedTo(Widen(run.err));

  EXPECT_EQ(CompareTrees(At(L"src"), At(L"copy")), "");
  EXPECT_TRUE(Exists(At(L"made\\deep")));
  EXPECT_FALSE(Exists(At(L"old")));
  EXPECT_FALSE(Exists(At(L"app.exe")));
  ASSERT_FALSE(moved_.empty());
  EXPECT_FALSE(QueuedUnder(moved_).empty()) << "the program in use goes at the next boot";
  EXPECT_TRUE(QueuedUnder(At(L"undo\\")).empty()) << "taken back off the list";
  EXPECT_TRUE(Exists(At(L"undo\\u.txt")));
  EXPECT_TRUE(Exists(At(L"desktop\\Demo.lnk")));
  EXPECT_TRUE(Exists(At(L"programs\\Demo\\Demo.lnk")));
  EXPECT_TRUE(Exists(At(L"links\\Demo.lnk")));
  EXPECT_EQ(ReadAll(At(L"tool.exe:Zone.Identifier")), std::string("[ZoneTransfer]\r\nZoneId=3\0", 25));
  EXPECT_EQ(ReadAll(At(L"tool.exe")), "MZ");

  // 250 characters of path leave no room for ":Zone.Identifier" in 260: a fatal
  // overrun, the same under Wine as on Windows, and nothing after it runs.
  std::string name(250 - folder_.size(), 'n');
  script = Script(R"(<install><commands>
    <WriteIEADS index="1" pathFile=")" + Narrow(folder_) + name + R"("/>
    <CreateDir index="2" path=")" + Narrow(folder_) + R"(after" next="0"/>
  </commands></install>)");
  run = RunInstaller(L"/trace " + script);
  EXPECT_EQ(run.exitCode, 0xC0000409u) << run.err;
  EXPECT_FALSE(Exists(At(L"after")));
}
