// Fault caught: no working link to the product (links saved by the shell and loaded back).
#include <objbase.h>
#include <shlobj.h>

#include "tests/files/FilesFixture.h"

namespace {

// "target|arguments|description|folder|icon,index" of a saved link, or "" when it does not load.
std::wstring ReadLink(const std::wstring& file) {
  IShellLinkW* link = nullptr;
  IPersistFile* persist = nullptr;
  std::wstring info;
  CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, reinterpret_cast<void**>(&link));
  link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&persist));
  if (SUCCEEDED(persist->Load(file.c_str(), STGM_READ))) {
    wchar_t text[5][1024] = {};
    int icon = -1;
    link->GetPath(text[0], 1024, nullptr, SLGP_RAWPATH);
    link->GetArguments(text[1], 1024);
    link->GetDescription(text[2], 1024);
    link->GetWorkingDirectory(text[3], 1024);
    link->GetIconLocation(text[4], 1024, &icon);
    for (auto& part : text) info += std::wstring(part) + L"|";
    info.back() = L',';
    info += std::to_wstring(icon);
  }
  persist->Release();
  link->Release();
  return info;
}

}  // namespace

class ShortcutTest : public FilesTest {
 protected:
  void SetUp() override {
    FilesTest::SetUp();
    WriteAll(At(L"app\\tool.exe"), "MZ");
    for (const wchar_t* folder : {L"desktop", L"programs", L"other"}) CreateDirectoryW(At(folder).c_str(), nullptr);
    StoreText("String_CommonDesktopPath", At(L"desktop\\"));
    StoreText("String_CommonPrograms", At(L"programs\\"));
    StoreText("String_ProductName", L"Product");
  }
};

TEST_F(ShortcutTest, WritesThreeLinksThatLoadBackWithTheirTargetAndTexts) {
  StoreText("String_ClearProductName", L"Clear Product");
  EXPECT_EQ(Run(Add(L"<Shortcut index='1' file='tool.exe' currentDir='[Work]app\\' linkName='Tool.lnk' desktop='1' "
                    L"startMenu='1' otherPath='[Work]other' appName='Vendor.Tool' arguments='/run [NotExpanded]'/>")),
            0);
  // Arguments are written as they stand; the menu link always carries the plain product name.
  std::wstring tail = L"|/run [NotExpanded]|";
  std::wstring icon = L"|" + At(L"app\\") + L"|" + At(L"app\\tool.exe") + L",0";
  EXPECT_EQ(ReadLink(At(L"desktop\\Tool.lnk")), At(L"app\\tool.exe") + tail + L"Clear Product" + icon);
  EXPECT_EQ(ReadLink(At(L"programs\\Clear Product\\Tool.lnk")), At(L"app\\tool.exe") + tail + L"Product" + icon);
  EXPECT_EQ(ReadLink(At(L"other\\Tool.lnk")), At(L"app\\tool.exe") + tail + L"Product" + icon);
  const std::wstring appId = L"[_AddAppUserModelId] Is Windows 8. Set Property Store";
  EXPECT_EQ(log_->Work(), (Lines{appId, appId, appId, L"Shortcut Tool.lnk was created succesufully"}));
}

TEST_F(ShortcutTest, VariablesSwitchLinksAndPlainJoiningMakesTheTarget) {
  StoreInt("int_IsWindowsXp", 1);
  StoreInt("int_DesktopWanted", 1);
  // startMenuVar names an unset variable, which turns startMenu='1' off; desktopVar
  // turns desktop='0' on. currentDir has no trailing backslash.
  EXPECT_EQ(Run(Add(L"<Shortcut index='1' file='tool.exe' currentDir='[Work]app' linkName='C.lnk' desktop='0' "
                    L"startMenu='1' startMenuVar='MenuWanted' desktopVar='DesktopWanted' arguments=''/>")), 0);
  EXPECT_FALSE(Exists(At(L"programs\\Product")));
  EXPECT_EQ(ReadLink(At(L"desktop\\C.lnk")).find(At(L"apptool.exe") + L"||Product|"), 0u)
      << "currentDir runs into the file name";
}
