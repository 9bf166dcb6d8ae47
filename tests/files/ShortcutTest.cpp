// Shortcut: links written through the real shell link object, then loaded back
// and read. Wine's shell link answers S_OK to the application id but stores
// nothing, so that part is tested against a stand-in property store.
#include <objbase.h>
#include <propsys.h>
#include <shlobj.h>

#include "files/ShortcutCommand.h"
#include "tests/files/FilesFixture.h"

namespace {

// PKEY_AppUserModel_ID: {9F4C2855-9F79-4B39-A8D0-E1D42DE1D5F3}, 5
const PROPERTYKEY kAppUserModelId = {{0x9F4C2855, 0x9F79, 0x4B39, {0xA8, 0xD0, 0xE1, 0xD4, 0x2D, 0xE1, 0xD5, 0xF3}}, 5};

struct LinkInfo {
  bool loaded = false;
  std::wstring path, arguments, description, workingDirectory, iconPath;
  int iconIndex = -1;
};

LinkInfo ReadLink(const std::wstring& file) {
  LinkInfo info;
  IShellLinkW* link = nullptr;
  IPersistFile* persist = nullptr;
  CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, reinterpret_cast<void**>(&link));
  if (link == nullptr) return info;
  link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&persist));
  info.loaded = persist != nullptr && SUCCEEDED(persist->Load(file.c_str(), STGM_READ));
  if (info.loaded) {
    wchar_t text[5][1024] = {};
    link->GetPath(text[0], 1024, nullptr, SLGP_RAWPATH);
    link->GetArguments(text[1], 1024);
    link->GetDescription(text[2], 1024);
    link->GetWorkingDirectory(text[3], 1024);
    link->GetIconLocation(text[4], 1024, &info.iconIndex);
    info.path = text[0];
    info.arguments = text[1];
    info.description = text[2];
    info.workingDirectory = text[3];
    info.iconPath = text[4];
  }
  if (persist != nullptr) persist->Release();
  link->Release();
  return info;
}

// A stand-in for the link's property store: records what it is given.
class FakePropertyStore : public IPropertyStore {
 public:
  HRESULT setValueResult = S_OK;
  bool committed = false;
  int setCalls = 0;
  PROPERTYKEY key = {};
  VARTYPE type = VT_EMPTY;
  std::wstring value;
  ULONG references = 1;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override { return --references; }
  HRESULT STDMETHODCALLTYPE GetCount(DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetAt(DWORD, PROPERTYKEY*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY, PROPVARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY newKey, REFPROPVARIANT newValue) override {
    ++setCalls;
    key = newKey;
    type = newValue.vt;
    if (newValue.vt == VT_LPWSTR) value = newValue.pwszVal;
    return setValueResult;
  }
  HRESULT STDMETHODCALLTYPE Commit() override {
    committed = true;
    return S_OK;
  }
};

// A stand-in link that gives out the store, or no store at all.
class FakeLink : public IUnknown {
 public:
  explicit FakeLink(FakePropertyStore* store) : store_(store) {}
  int queries = 0;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    ++queries;
    *object = nullptr;
    if (store_ == nullptr || iid != __uuidof(IPropertyStore)) return E_NOINTERFACE;
    store_->AddRef();
    *object = store_;
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }

 private:
  FakePropertyStore* store_;
};

}  // namespace

class ShortcutTest : public FilesTest {
 protected:
  void SetUp() override {
    FilesTest::SetUp();
    WriteAll(At(L"app\\tool.exe"), "MZ");
    CreateDirectoryW(At(L"desktop").c_str(), nullptr);
    CreateDirectoryW(At(L"programs").c_str(), nullptr);
    CreateDirectoryW(At(L"other").c_str(), nullptr);
    SetString("String_Work", folder_);
    SetString("String_CommonDesktopPath", At(L"desktop\\"));
    SetString("String_CommonPrograms", At(L"programs\\"));
    SetString("String_ProductName", L"Product");
  }
  // Shell links want a thread of their own apartment: run the command on one.
  int32_t RunOnThread(CInstallCommand* command) {
    int32_t status = -1;
    EXPECT_TRUE(ExecuteOnThread(command, &status, 20000));
    return status;
  }
};

TEST_F(ShortcutTest, WritesThreeLinksThatLoadBackWithTheirTargetAndTexts) {
  SetString("String_ClearProductName", L"Clear Product");
  CInstallCommand* shortcut = Add(
      L"<Shortcut index='1' file='tool.exe' currentDir='[Work]app\\' linkName='Tool.lnk' desktop='1' "
      L"startMenu='1' otherPath='[Work]other' appName='Vendor.Tool' arguments='/run [NotExpanded]'/>");
  EXPECT_EQ(RunOnThread(shortcut), 0);

  std::wstring target = At(L"app\\tool.exe");
  LinkInfo desktop = ReadLink(At(L"desktop\\Tool.lnk"));
  LinkInfo menu = ReadLink(At(L"programs\\Clear Product\\Tool.lnk"));
  LinkInfo other = ReadLink(At(L"other\\Tool.lnk"));
  ASSERT_TRUE(desktop.loaded && menu.loaded && other.loaded);
  for (const LinkInfo* link : {&desktop, &menu, &other}) {
    EXPECT_EQ(link->path, target);
    EXPECT_EQ(link->arguments, L"/run [NotExpanded]") << "arguments are written as they stand";
    EXPECT_EQ(link->workingDirectory, At(L"app\\"));
    EXPECT_EQ(link->iconPath, target);
    EXPECT_EQ(link->iconIndex, 0);
  }
  EXPECT_EQ(desktop.description, L"Clear Product");
  EXPECT_EQ(menu.description, L"Product") << "the menu link always carries the plain product name";
  EXPECT_EQ(other.description, L"Product");

  std::vector<std::wstring> expected = {L"1: Shortcut Begin execute.\n",
                                        L"[_AddAppUserModelId] Is Windows 8. Set Property Store",
                                        L"[_AddAppUserModelId] Is Windows 8. Set Property Store",
                                        L"[_AddAppUserModelId] Is Windows 8. Set Property Store",
                                        L"Shortcut Tool.lnk was created succesufully",
                                        L"[InstallCommand] Warning: GetNextIndex called before Execute\n",
                                        L"1: Shortcut End execute. Next command 2.\n"};
  EXPECT_EQ(log_->Lines(), expected);
}

TEST_F(ShortcutTest, OnlyTheLastLinkDecidesTheClosingLine) {
  SetInt("int_IsWindows7", 1);
  // The other path's folder is not made, so the third link fails after the
  // first was written.
  CInstallCommand* lastFails = Add(L"<Shortcut index='1' file='tool.exe' currentDir='[Work]app\\' "
                                   L"linkName='A.lnk' desktop='1' otherPath='[Work]missing'/>");
  EXPECT_EQ(RunOnThread(lastFails), 0);
  EXPECT_TRUE(ReadLink(At(L"desktop\\A.lnk")).loaded);
  std::vector<std::wstring> expected = {L"1: Shortcut Begin execute.\n",
                                        L"[_AddAppUserModelId] Is not Windows 8. Exit",
                                        L"[_AddAppUserModelId] Is not Windows 8. Exit",
                                        L"IPersistFile::Save failed.",
                                        L"Shortcut A.lnk Failed",
                                        L"[InstallCommand] Warning: GetNextIndex called before Execute\n",
                                        L"1: Shortcut End execute. Next command 2.\n"};
  EXPECT_EQ(log_->Lines(), expected);

  // The other way round: a failed desktop link is hidden by a good last one.
  SetString("String_CommonDesktopPath", At(L"nodesk\\"));
  CInstallCommand* firstFails = Add(L"<Shortcut index='2' file='tool.exe' currentDir='[Work]app\\' "
                                    L"linkName='B.lnk' desktop='1' otherPath='[Work]other'/>");
  EXPECT_EQ(RunOnThread(firstFails), 0);
  EXPECT_TRUE(log_->Contains(L"Shortcut B.lnk was created succesufully"));
  EXPECT_TRUE(ReadLink(At(L"other\\B.lnk")).loaded);
}

TEST_F(ShortcutTest, VariablesSwitchLinksAndPlainJoiningMakesTheTarget) {
  SetInt("int_IsWindowsXp", 1);
  SetInt("int_DesktopWanted", 1);
  // startMenuVar names an unset variable, which turns startMenu='1' off;
  // desktopVar turns desktop='0' on. currentDir has no trailing backslash.
  CInstallCommand* shortcut = Add(L"<Shortcut index='1' file='tool.exe' currentDir='[Work]app' linkName='C.lnk' "
                                  L"desktop='0' startMenu='1' startMenuVar='MenuWanted' desktopVar='DesktopWanted' "
                                  L"arguments=''/>");
  EXPECT_EQ(RunOnThread(shortcut), 0);
  EXPECT_FALSE(Exists(At(L"programs\\Product")));
  LinkInfo desktop = ReadLink(At(L"desktop\\C.lnk"));
  ASSERT_TRUE(desktop.loaded);
  EXPECT_EQ(desktop.path, At(L"apptool.exe")) << "currentDir runs into the file name";
  EXPECT_EQ(desktop.arguments, L"");
  EXPECT_EQ(desktop.description, L"Product");
}

TEST_F(ShortcutTest, UnresolvedNamesAndNothingToDoAreReported) {
  SetInt("int_IsWindows7", 1);
  // A file name that cannot be expanded leaves no target to link to.
  CInstallCommand* noTarget = Add(L"<Shortcut index='1' file='[Nowhere]' currentDir='[Work]app\\' "
                                  L"linkName='D.lnk' desktop='1'/>");
  CInstallCommand* nothing = Add(L"<Shortcut index='2' linkName='E.lnk'/>");
  EXPECT_EQ(RunOnThread(noTarget), 0);
  EXPECT_EQ(RunOnThread(nothing), 0);
  EXPECT_FALSE(Exists(At(L"desktop\\D.lnk")));
  std::vector<std::wstring> lines = log_->Lines();
  ASSERT_EQ(lines.size(), 9u);
  EXPECT_EQ(lines[1], L"ExpandVariables: No variable 'String_Nowhere' could be found.\n");
  EXPECT_EQ(lines[2], L"Shortcut D.lnk Failed");
  EXPECT_EQ(lines[6], L"Shortcut E.lnk was created succesufully") << "no link asked for is no failure";
}

TEST_F(ShortcutTest, SecondThreadIsTurnedAwayInTheNameOfExec) {
  CInstallCommand* shortcut = Add(L"<Shortcut index='6' file='tool.exe' linkName='F.lnk' desktop='1'/>");
  EnterCriticalSection(&shortcut->lock);
  EXPECT_EQ(RunOnThread(shortcut), 1359);
  LeaveCriticalSection(&shortcut->lock);
  EXPECT_EQ(log_->Lines(), std::vector<std::wstring>{L"6: Exec Error: Multiple threads attempting execution.\n"});
}

TEST_F(ShortcutTest, ApplicationIdGoesThroughThePropertyStoreFromWindows8On) {
  FakePropertyStore store;
  FakeLink link(&store);
  EXPECT_EQ(AddAppUserModelId(&link, L"Vendor.Tool"), S_OK);
  EXPECT_EQ(store.setCalls, 1);
  EXPECT_TRUE(IsEqualPropertyKey(store.key, kAppUserModelId));
  EXPECT_EQ(store.type, VT_LPWSTR);
  EXPECT_EQ(store.value, L"Vendor.Tool");
  EXPECT_TRUE(store.committed);
  EXPECT_EQ(store.references, 1u) << "the store is released";

  FakePropertyStore refusing;
  refusing.setValueResult = E_ACCESSDENIED;
  FakeLink refusingLink(&refusing);
  EXPECT_EQ(AddAppUserModelId(&refusingLink, L"Vendor.Tool"), E_ACCESSDENIED);
  EXPECT_FALSE(refusing.committed);

  FakeLink storeless(nullptr);
  EXPECT_EQ(AddAppUserModelId(&storeless, L"Vendor.Tool"), E_NOINTERFACE);
  EXPECT_EQ(AddAppUserModelId(&link, nullptr), E_FAIL) << "no application id";
  EXPECT_EQ(AddAppUserModelId(nullptr, L"Vendor.Tool"), E_FAIL);

  SetInt("int_IsWindowsVista", 1);
  FakeLink untouched(&store);
  EXPECT_EQ(AddAppUserModelId(&untouched, L"Vendor.Tool"), S_OK);
  EXPECT_EQ(untouched.queries, 0) << "systems before Windows 8 have no application ids";
  EXPECT_EQ(log_->Lines().back(), L"[_AddAppUserModelId] Is not Windows 8. Exit");
}
