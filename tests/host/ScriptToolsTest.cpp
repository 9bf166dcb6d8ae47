// Faults caught: a checker that misses a finding, misplaces it or reports one on a sound script; a bad input
// that ends with the wrong code or without saying what and where; a result file that misreports a run; an
// autopilot that keeps a run from ending, or cannot pilot without saying so.
#include "tests/host/HostRun.h"

namespace {

struct Expectation {
  std::string script;  // the body of <commands>, or a whole file when it starts with '<' and is no element list
  DWORD code;
  std::vector<std::string> words;
};

// A run of the engine: its arguments, its exit code and the words its output must hold.
struct RunCase {
  std::wstring arguments;
  DWORD code;
  std::vector<std::string> words;
};

std::string Commands(const std::string& body) { return "<install><commands>\n" + body + "</commands></install>\n"; }

std::wstring SourceFile(const wchar_t* relative) {
  std::wstring path = L"Z:" + Widen(SOURCE_ROOT) + L"/" + relative;
  for (wchar_t& c : path) c = c == L'/' ? L'\\' : c;
  return L"\"" + path + L"\"";
}

}  // namespace

TEST_F(HostRunTest, CheckReportsEachProblemWhereItStands) {
  const Expectation cases[] = {
      {Commands("<CreateEvent eventVar=\"A\" manualReset=\"1\"/>\n<WaitForHandle eventVar=\"A\" waitAmount=\"9\" next=\"0\"/>\n"),
       0, {"0 error(s), 0 warning(s)"}},
      {Commands("<CreateEvent eventVar=\"A\"/>\n  <SetEvent eventVar=\"A\" errvar=\"X\" next=\"0\"/>\n"), 1,
       {":3:3: warning: <SetEvent>: attribute 'errvar' is never read by this command (did you mean 'errVar'?)"}},
      {Commands("<Bogus/>\n"), 2, {":2:1: error: <Bogus>: unknown command"}},
      {Commands("<WaitForHandle waitAmount=\"1\"/>\n"), 2, {"Load failed with status 1: the required attribute 'eventVar'"}},
      {Commands("<CreateEvent index=\"3\" eventVar=\"A\"/>\n<SetEvent index=\"3\" eventVar=\"A\" next=\"0\"/>\n"), 2,
       {":3:1: error: <SetEvent>: index 3 is used already by <CreateEvent> (line 2, column 1)"}},
      {"<install><commands entry=\"9\"><CreateEvent eventVar=\"A\" next=\"0\"/></commands></install>", 2,
       {"the entry index 9 names no command"}},
      {Commands("<CreateEvent eventVar=\"A\" next=\"7\"/>\n"), 2, {"next=\"7\" names no command"}},
      {Commands("<Fork threadId=\"1\" threadStart=\"40\"/>\n<Join threadId=\"1\" next=\"0\"/>\n"), 2,
       {"threadStart=\"40\" names no command"}},
      {Commands("<CreateEvent eventVar=\"A\" next=\"0\"/>\n<SetEvent eventVar=\"A\" next=\"0\"/>\n"), 1,
       {":3:1: warning: <SetEvent>: no walk reaches this command"}},
      {Commands("<Fork threadId=\"1\" threadStart=\"4\"/>\n<Fork threadId=\"1\" threadStart=\"4\"/>\n"
                "<Join threadId=\"2\" next=\"0\"/>\n<CreateEvent eventVar=\"A\" next=\"0\"/>\n"),
       1, {"threadId 1 is forked more than once", "<Join>: threadId 2 is started by no Fork"}},
      {Commands("<SetEvent eventVar=\"Nope\" next=\"0\"/>\n"), 1, {"eventVar \"Nope\" is made by no CreateEvent"}},
      {Commands("<CreateDir path=\"[Nowhere]x\" execCondition=\"Never\" next=\"0\"/>\n"), 1,
       {"[Nowhere] names a variable nothing sets", "execCondition \"Never\" names a variable nothing sets"}},
      {Commands("<RegKeyExists base=\"HKEY_CURRENT_USER\" subkey=\"S\" variable=\"Had\"/>\n"
                "<CreateDir path=\"C:\\x\" execCondition=\"Had\" next=\"0\"/>\n"),
       0, {"0 error(s), 0 warning(s)"}},
      {Commands("<CreateEvent eventVar=\"A\"/>\n<SetEvent eventVar=\"A\" next=\"1\"/>\n"), 1,
       {"loop with no WaitForHandle or Join in them: 1 -> 2 -> 1"}},
      {Commands("<CreateEvent eventVar=\"A\"/>\n<SetEvent eventVar=\"A\">\n"), 2,
       {":4:1: error: cannot be read as XML: </commands> closes <SetEvent> (line 3, column 1)"}},
  };
  for (const Expectation& c : cases) {
    ProcessResult run = RunInstaller(L"/check " + Script(c.script));
    EXPECT_EQ(run.exitCode, c.code) << c.script << run.out;
    for (const std::string& words : c.words) EXPECT_TRUE(Has(run.out, words)) << words << "\n" << run.out;
    EXPECT_FALSE(Has(run.err, "Begin execute")) << "nothing runs";
  }
}

TEST_F(HostRunTest, CheckFindsTheShippedScriptsClean) {
  const std::wstring languages = L"/set:String_LangDir=C:\\lang\\ /set:String_OnlineLanguages=http://127.0.0.1/ ";
  for (const std::wstring& arguments :
       {std::wstring(L"/check"), L"/check " + SourceFile(L"demo/install.xml"),
        L"/check " + SourceFile(L"demo/window.xml"),
        L"/check " + languages + SourceFile(L"demo/language-switch.xml")}) {
    ProcessResult run = RunInstaller(arguments);
    EXPECT_EQ(run.exitCode, 0u) << Narrow(arguments) << "\n" << run.out << run.err;
  }
}

TEST_F(HostRunTest, BadInputsEndWithTheirCodeAndSayWhatAndWhere) {
  std::string deep;
  for (int i = 0; i < 300; ++i) deep += "<a>";
  for (int i = 0; i < 300; ++i) deep += "</a>";
  std::string utf16;
  for (char c : Commands("<CreateEvent eventVar=\"A\" next=\"0\"/>")) utf16 += std::string(1, c) + '\0';
  std::wstring source = folder_ + L"tree\\";
  WriteAll(source + L"file.txt", "x");
  std::wstring plugin = folder_ + L"InstallCommands.dll";  // alone, without htmlayout.dll
  ASSERT_TRUE(CopyFileW((BinFolder() + L"InstallCommands.dll").c_str(), plugin.c_str(), FALSE));
  const RunCase cases[] = {
      {Script(Commands("<CreateEvent eventVar=\"A\"/>\n<SetEvent eventVar=\"A\" next=\"9\"/>\n")), 1168,
       {"command 2 <SetEvent> (line 3, column 1) sends the walk to index 9, which names no command"}},
      {L"/set:int_X=ten " + Script(Commands("<CreateEvent eventVar=\"A\"/>")), 87, {"/set:int_X=ten: the value is no number"}},
      {L"/set:int_X=4294967296 " + Script(Commands("<CreateEvent eventVar=\"A\"/>")), 87, {"does not fit in 32 bits"}},
      {L"/autoclick=Agree,,Finish " + Script(Commands("<CreateEvent eventVar=\"A\"/>")), 87, {"/autoclick= needs"}},
      {L"/autoclick-timeout=0 " + Script(Commands("<CreateEvent eventVar=\"A\"/>")), 87, {"a number of seconds"}},
      // A run without a dialog is not held by its pilot, nor one without htmlayout.dll beside the plug-in.
      {L"/autoclick=Agree " + Script(Commands("<CreateEvent eventVar=\"A\"/>")), 0,
       {"autopilot: the run ended before this was clicked: Agree"}},
      {L"/autoclick=Agree \"/plugin=" + plugin + L"\" " + Script(Commands("<CreateEvent eventVar=\"A\"/>")), 0,
       {"autopilot: cannot pilot the dialog: ", "htmlayout.dll cannot be bound (error 126)"}},
      {Script("<install><commands>\n<CreateEvent eventVar=\"A\"/>\n<SetEv"), 13,
       {"line 3, column 1: cannot be read as XML: the file ends inside <SetEv"}},
      {Script(utf16), 13, {"UTF-16 (little-endian) without a byte order mark"}},
      {L"\"" + folder_ + L"tree\"", 13, {"it is a folder"}},
      {Script(Commands(deep)), 13, {"nested deeper than MSXML takes: 302 deep at <a> (line 2, column 898)"}},
      {Script(Commands("<RegKeyExists base=\"hkey_current_user\" subkey=\"S\" variable=\"V\"/>")), 13,
       {"(command #1): Load failed with status 1: the command refuses the value of base=\"hkey_current_user\""}},
      {Script(Commands("<WriteIEADS index=\"4\" pathFile=\"C:\\" + std::string(300, 'p') + "\"/>")), 0xC0000409,
       {"4: WriteIEADS Fatal: a text of 303 characters overruns a buffer of 260: 'C:\\ppp"}},
      {L"/trace " + Script(Commands("<CopyDir sourceDir=\"" + Narrow(source) + "\" destinationDir=\"" + Narrow(source) +
                                   "copy\\\"/>")),
       0, {"CopyDir refused: destination dir", "nothing is copied"}},
  };
  for (const RunCase& c : cases) {
    ProcessResult run = RunInstaller(c.arguments);
    EXPECT_EQ(run.exitCode, c.code) << Narrow(c.arguments) << "\n" << run.err;
    for (const std::string& words : c.words) EXPECT_TRUE(Has(run.err, words)) << words << "\n" << run.err;
  }
  EXPECT_FALSE(Exists(source + L"copy")) << "nothing was copied into the source itself";
}

TEST_F(HostRunTest, ResultFileTellsWhatTheRunDid) {
  std::wstring result = folder_ + L"result.json";
  std::wstring queued = folder_ + L"queued\\";
  WriteAll(queued + L"file.txt", "x");
  const RunCase cases[] = {
      {Script(Commands("<Logger isMainThread=\"1\"/>\n<CreateEvent eventVar=\"A\" manualReset=\"1\"/>\n"
                       "<Fork threadId=\"1\" threadStart=\"10\"/>\n<Join threadId=\"1\" next=\"0\"/>\n"
                       "<SetEvent index=\"10\" eventVar=\"A\"/>\n<SetEvent index=\"11\" eventVar=\"A\" next=\"0\"/>\n")),
       0,
       {"\"exitCode\": 0,", "\"returnCode\": 0,", "\"cancelled\": false,", "\"stoppedBy\": null,",
        "\"log\": \"C:\\\\ProgramData\\\\", ".nvinstall.bin\"", "\"restartNeeded\": false,",
        "\"commandsRun\": {\"main\": 4, \"thread1\": 2}"}},
      {Script(Commands("<Bogus/>")), 13,
       {"\"exitCode\": 13,", "\"meaning\": \"the script cannot be loaded; nothing has run\"", "\"returnCode\": null,",
        "unknown command"}},
      {L"/autoanswer " + Script(Commands("<ForceSingleInstance eventName=\"ResultFileTest\"/>\n"
                                         "<ForceSingleInstance eventName=\"ResultFileTest\" next=\"0\"/>\n")),
       183,
       {"\"exitCode\": 183,", "\"returnCode\": 183,",
        "\"stoppedBy\": {\"index\": 2, \"element\": \"ForceSingleInstance\", \"line\": 3, \"status\": 1359}"}},
      {Script(Commands("<Rmdir path=\"" + Narrow(queued) + "\" recursive=\"1\" onlyOnReboot=\"1\" next=\"0\"/>")), 0,
       {"\"restartNeeded\": true,", "\"pendingRenamesAdded\": 2,"}},
  };
  for (const RunCase& c : cases) {
    DeleteFileW(result.c_str());
    ProcessResult run = RunInstaller(L"\"/result=" + result + L"\" " + c.arguments);
    ForgetPendingRenames(queued);
    EXPECT_EQ(run.exitCode, c.code) << run.err;
    std::string json = ReadAll(result);
    for (const std::string& field : c.words) EXPECT_TRUE(Has(json, field)) << field << "\n" << json;
    std::string log = json.substr(json.find("\"log\": ") + 7);
    if (log.compare(0, 1, "\"") == 0) DeleteFileW(Widen(log.substr(1, log.find('"', 1) - 1)).c_str());
  }
}
