// Fault caught: settings written where they are never read (wrong view, base or hive), or keys left at uninstall.
#include "tests/registry/RegistryFixture.h"

TEST_F(RegistryTest, BaseNamesAreExactAndAllUsersIsKnownOnlyToTheCommandsThatWalk) {
  const std::pair<const wchar_t*, int32_t> cases[] = {
      {L"<RegCreateKey base='hkey_local_machine' subkey='S'/>", 1},
      {L"<RegCreateKey base='HKEY_LOCAL_MACHINE ' subkey='S'/>", 1},
      {L"<RegCreateKey base='ALL_USERS' subkey='S'/>", 0},
      {L"<RegDeleteKey base='ALL_USERS' subkey='S' recursive='0'/>", 0},
      {L"<RegDeleteValue base='ALL_USERS' subkey='S' value='V'/>", 0},
      {L"<RegSetValue base='ALL_USERS' subkey='S' value='V'/>", 0},
      {L"<RegGetValue base='ALL_USERS' subkey='S' value='V' var='X'/>", 1},
      {L"<RegKeyExists base='ALL_USERS' subkey='S' variable='X'/>", 1},
      {L"<VltRegSetLicense base='ALL_USERS' subkey='S'/>", 1},
      {L"<RegDeleteKey base='HKEY_USERS' subkey='S'/>", 1},
      {L"<RegSetValue base='HKEY_CURRENT_USER' subkey='S'/>", 1},
  };
  for (auto& c : cases) {
    int32_t status = -1;
    CreateCommand(c.first, &status)->Free();
    EXPECT_EQ(status, c.second) << Narrow(c.first);
  }
}

// A 64-bit library sees the 64-bit view with or without asking for it; a stray
// request for the 32-bit view sends the value under Wow6432Node, where the
// product never reads it.
TEST_F(RegistryTest, EveryStepStaysInTheSystemViewWhateverTheSwitches) {
  for (int x64 : {0, 1}) {
    for (int win32 : {0, 1}) {
      std::wstring tag = std::to_wstring(x64) + std::to_wstring(win32), path = key_ + L"\\View" + tag;
      SCOPED_TRACE("int_x64 and win32ProcToX64Regs: " + Narrow(tag));
      StoreInt("int_x64", x64);
      std::wstring base = L"base='HKEY_LOCAL_MACHINE' subkey='" + path + L"'", switches = L" win32ProcToX64Regs='" +
                          std::to_wstring(win32) + L"'";
      RunElement(L"<RegCreateKey " + base + L"/>");
      RunElement(L"<RegSetValue " + base + L" value='v' dwordValue='7'" + switches + L"/>");
      EXPECT_EQ(Landing(path, L"v"), "plain");
      RunElement(L"<RegGetValue " + base + L" value='v' var='Seven'/>");
      RunElement(L"<RegKeyExists " + base + L" variable='Found'/>");
      RunElement(L"<RegDeleteValue " + base + L" value='v'/>");
      EXPECT_EQ(StoreRead("int_Seven"), 7u);
      EXPECT_EQ(StoreRead("int_Found"), 1u);
      EXPECT_EQ(Landing(path, L"v"), "nowhere");
      RunElement(L"<RegDeleteKey " + base + L" recursive='0'/>");
      EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, path));

      // ALL_USERS: every hive, none of them under Wow6432Node.
      path = key_ + L"\\All" + tag;
      base = L"base='ALL_USERS' subkey='" + path + L"'";
      RunElement(L"<RegSetValue " + base + L" value='v' stringValue='all'" + switches + L"/>");
      for (const std::wstring& hive : UserHives()) {
        DWORD type = 0;
        EXPECT_EQ(ReadValue(HKEY_USERS, hive + L"\\" + path, L"v", 0, &type), 0) << Narrow(hive);
        EXPECT_FALSE(KeyExists(HKEY_USERS, hive + L"\\Software\\Wow6432Node\\" + path.substr(9)));
      }
      RunElement(L"<RegDeleteKey " + base + L" recursive='0'/>");
      for (const std::wstring& hive : UserHives()) EXPECT_FALSE(KeyExists(HKEY_USERS, hive + L"\\" + path));
    }
  }
}

// Wine loads only .Default and the current user and enforces no ACLs. To give
// the walk what a Windows machine has, HKEY_USERS of this process is redirected
// to a key holding one subkey per hive: the service accounts, _Classes hives, and
// a symbolic link to a missing key that stands for a hive the walk lists but
// cannot open: the open fails and the walk goes on.
TEST_F(RegistryTest, HiveWalkSkipsOnlyServiceAccountsGoesOnPastAClosedHiveAndRepeatsTheLast) {
  const std::vector<std::wstring> hives = {L".DEFAULT", L"S-1-5-18", L"S-1-5-19", L"S-1-5-20", L"S-1-5-20_Classes",
                                           L"S-1-5-21-1-2-3-1001", L"S-1-5-21-1-2-3-1001_Classes",
                                           L"S-1-5-21-1-2-3-1003"};
  std::wstring users = RedirectUsers(hives, {L"S-1-5-21-1-2-3-1000"});
  const std::vector<std::wstring> walked = {L".DEFAULT", L"S-1-5-20_Classes", L"S-1-5-21-1-2-3-1000",
                                            L"S-1-5-21-1-2-3-1001", L"S-1-5-21-1-2-3-1001_Classes",
                                            L"S-1-5-21-1-2-3-1003", L"S-1-5-21-1-2-3-1003"};
  // The lines of a walk: head, then per hive its root line and perHive (lastAgain
  // for the repeated last one; the closed hive's open failure instead).
  auto walk = [&](const std::wstring& head, const std::wstring& index, const std::wstring& rootText,
                  const std::wstring& perHive, const std::wstring& lastAgain) {
    Lines lines = {head};
    for (size_t i = 0; i < walked.size(); ++i) {
      lines.push_back(index + rootText + walked[i] + L"'.\n");
      std::wstring next = i + 1 == walked.size() ? lastAgain : perHive;
      if (walked[i] == L"S-1-5-21-1-2-3-1000") next = index + L"Could not open key 'HKEY_USERS\\" + walked[i] + L"'.\n";
      if (!next.empty()) lines.push_back(next);
    }
    return lines;
  };
  size_t mark = log_->Mark();
  RunElement(L"<RegSetValue index='3' base='ALL_USERS' subkey='Software\\Probe' value='v' stringValue='x'/>");
  EXPECT_EQ(log_->Work(mark), walk(L"3: RegSetValue 'Software\\Probe' \\ 'v'='x' Begin.\n", L"3: RegSetValue ",
                                   L"Using from key root '", L"", L""));
  for (const std::wstring& hive : hives) {
    DWORD type = 0;
    bool skipped = hive == L"S-1-5-18" || hive == L"S-1-5-19" || hive == L"S-1-5-20";
    EXPECT_EQ(ReadValue(HKEY_CURRENT_USER, users + L"\\" + hive + L"\\Software\\Probe", L"v", 0, &type) == 0, !skipped)
        << Narrow(hive);
  }
  RunElement(L"<RegCreateKey base='ALL_USERS' subkey='Software\\Probe\\Made'/>");
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, users + L"\\.DEFAULT\\Software\\Probe\\Made"));

  // The repeated last hive finds its value gone.
  ASSERT_EQ(RegDeleteTreeW(HKEY_CURRENT_USER, (users + L"\\.DEFAULT\\Software").c_str()), 0);
  mark = log_->Mark();
  RunElement(L"<RegDeleteValue index='5' base='ALL_USERS' subkey='Software\\Probe' value='v'/>");
  Lines expected = walk(L"5: RegDeleteValue 'Software\\Probe' \\ 'v'.\n", L"5: RegDeleteValue ",
                        L"Deleting from key root '", L"",
                        L"5: RegDeleteValue Could delete value 'v' from key 'Software\\Probe'.\n");
  expected.insert(expected.begin() + 2, L"5: RegDeleteValue Could not open key 'Software\\Probe'.\n");
  EXPECT_EQ(log_->Work(mark), expected);

  mark = log_->Mark();
  RunElement(L"<RegDeleteKey index='6' base='ALL_USERS' subkey='Software\\Probe\\Made' recursive='0'/>");
  expected = walk(L"6: RegDeleteKey 'Software\\Probe\\Made' Begin, recursive='FALSE'.\n", L"6: RegDeleteKey ",
                  L"Deleting from key root '", L"6: RegDeleteKey Returned 0.\n", L"6: RegDeleteKey Returned 2.\n");
  expected[2] = L"6: RegDeleteKey Returned 2.\n";  // .DEFAULT lost its Software key above
  EXPECT_EQ(log_->Work(mark), expected);

  mark = log_->Mark();
  RunElement(L"<RegDeleteKey index='7' base='ALL_USERS' subkey='Software\\Probe' recursive='1'/>");
  expected = walk(L"7: RegDeleteKey 'Software\\Probe' Begin, recursive='TRUE'.\n", L"7: RegDeleteKey ",
                  L"Deleting from key root '", L"", L"Key not found.\n");
  expected.insert(expected.begin() + 2, L"Key not found.\n");
  EXPECT_EQ(log_->Work(mark), expected);
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, users + L"\\S-1-5-21-1-2-3-1003\\Software\\Probe"));
}

TEST_F(RegistryTest, RecursiveDeleteRemovesADeepTreeInTheSystemViewAndReportsWhatStays) {
  std::wstring tree = key_ + L"\\Tree", path = tree;
  for (int level = 0; level < 12; ++level) {
    path += L"\\Level" + std::to_wstring(level);
    WriteValue(HKEY_LOCAL_MACHINE, path, L"v", REG_SZ, L"data", 10);
    WriteValue(HKEY_LOCAL_MACHINE, path + L"Sibling\\Leaf", nullptr, REG_SZ, L"d", 4);
  }
  StoreInt("int_x64", 0);
  size_t mark = log_->Mark();
  // The trailing backslash is cut off before the last delete.
  RunElement(L"<RegDeleteKey index='1' base='HKEY_LOCAL_MACHINE' subkey='" + tree + L"\\' recursive='1'/>");
  RunElement(L"<RegDeleteKey index='2' base='HKEY_LOCAL_MACHINE' subkey='" + tree + L"' recursive='1'/>");
  EXPECT_EQ(log_->Work(mark), (Lines{L"1: RegDeleteKey '" + tree + L"\\' Begin, recursive='TRUE'.\n",
                                     L"2: RegDeleteKey '" + tree + L"' Begin, recursive='TRUE'.\n",
                                     L"Key not found.\n"}));
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, tree));

  // A key with subkeys stays without recursive; a child that is a link to a
  // missing key is reported gone but stays listed.
  std::wstring parent = key_ + L"\\Parent";
  WriteValue(HKEY_LOCAL_MACHINE, parent + L"\\Child", L"v", REG_SZ, L"x", 4);
  mark = log_->Mark();
  RunElement(L"<RegDeleteKey index='3' base='HKEY_LOCAL_MACHINE' subkey='" + parent + L"' recursive='0'/>");
  EXPECT_EQ(log_->Work(mark)[1], L"3: RegDeleteKey Returned 5.\n");
  CreateDanglingLink(HKEY_LOCAL_MACHINE, parent + L"\\Child\\Dangling");
  mark = log_->Mark();
  RunElement(L"<RegDeleteKey index='4' base='HKEY_LOCAL_MACHINE' subkey='" + parent + L"' recursive='1'/>");
  EXPECT_EQ(log_->Work(mark), (Lines{L"4: RegDeleteKey '" + parent + L"' Begin, recursive='TRUE'.\n",
                                     L"Key not found.\n", L"Key 'Dangling' stays after it was deleted.\n",
                                     L"4: RegDeleteKey Could delete key '" + parent + L"'.\n"}));
  std::wstring users = RedirectUsers({L"S-1-5-21-1-2-3-1001"}, {});
  CreateDanglingLink(HKEY_CURRENT_USER, users + L"\\S-1-5-21-1-2-3-1001\\Software\\Dangling");
  mark = log_->Mark();
  RunElement(L"<RegDeleteKey index='5' base='ALL_USERS' subkey='Software' recursive='1'/>");
  Lines once = {L"5: RegDeleteKey Deleting from key root 'S-1-5-21-1-2-3-1001'.\n", L"Key not found.\n",
                L"Key 'Dangling' stays after it was deleted.\n", L"5: RegDeleteKey Could not delete key 'Software'.\n"};
  Lines expected = {L"5: RegDeleteKey 'Software' Begin, recursive='TRUE'.\n"};
  for (int visit = 0; visit < 2; ++visit) expected.insert(expected.end(), once.begin(), once.end());
  EXPECT_EQ(log_->Work(mark), expected);
}

TEST_F(RegistryTest, SubkeyThatCannotExpandIsUsedLiterally) {
  size_t mark = log_->Mark();
  RunElement(L"<RegCreateKey index='4' base='HKEY_LOCAL_MACHINE' subkey='" + key_ + L"\\[NoSuchVariable]' volatile='1'/>");
  EXPECT_EQ(log_->Work(mark), (Lines{L"ExpandVariables: No variable 'String_NoSuchVariable' could be found.\n",
                                     L"4: RegCreateKey '" + key_ + L"\\[NoSuchVariable]' volatile=1 Begin.\n"}));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, key_ + L"\\[NoSuchVariable]"));
}
