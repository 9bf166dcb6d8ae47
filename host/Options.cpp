#include "host/Options.h"

#include <cerrno>
#include <cstdint>
#include <cwctype>

#include "host/HostTexts.h"

const wchar_t kUsage[] =
    L"Usage: Installer.exe [options] [<script.xml>] [script switches]\n"
    L"\n"
    L"Runs an install script: each element of its <commands> is created by the\n"
    L"plug-in library and the commands are walked by index. Without a script the\n"
    L"script the plug-in library carries is run.\n"
    L"\n"
    L"Options:\n"
    L"  /plugin=<path>        plug-in library (default: InstallCommands.dll beside Installer.exe)\n"
    L"  /set:<name>=<value>   preset an int_ or String_ variable before the run; repeatable,\n"
    L"                        and it wins over the script's <variables>\n"
    L"  /trace                print every log line to standard error\n"
    L"  /autoanswer[=<code>]  for runs without a desktop: messages are printed, not shown, and\n"
    L"                        answered with <code> (0 OK, 1 Cancel, 2 Retry, 3 Yes, 4 No, ...;\n"
    L"                        default 0)\n"
    L"  /langdll=<path>       resource module published as HMODULE_LangDll\n"
    L"  /verify-downloads     every download needs a matching <name>.md5 at its source;\n"
    L"                        one without fails (status 4) and is not kept\n"
    L"  /languages            after the run, list the languages of SelfFree_MultiLanguageApi\n"
    L"                        (waiting for the online language file)\n"
    L"  /select-language=<code>  after the run, select a language as the user's pick would\n"
    L"  /texts                after the run, print the texts of SelfFree_ResourceManager\n"
    L"  /check                load the script (or the one the plug-in carries), run nothing,\n"
    L"                        and list its problems as file:line:column: error|warning: ...;\n"
    L"                        exit code 0 clean, 1 warnings only, 2 errors\n"
    L"  /result=<file.json>   at the end of the run, write what it did as JSON (atomically)\n"
    L"  /autoclick=<id>[,<id>...]  for runs without a user: clicks the dialog's elements of\n"
    L"                        these ids in turn, each as soon as it shows and is enabled\n"
    L"                        (needs htmlayout.dll beside the plug-in)\n"
    L"  /autoclick-timeout=<seconds>  how long each click waits for its element (default 60);\n"
    L"                        then the dialog's close button is clicked and the run ends\n"
    L"  /screens=<folder>     writes a picture of the dialog at each step, step<N>.png\n"
    L"  /? or /help           show this text\n"
    L"\n"
    L"Other switches (/silent, /update, /path=..., /lang=..., ...) are left to the\n"
    L"script's commands, which read the command line from String_CommandLine.\n"
    L"\n"
    L"Exit code: int_ReturnCode as the script leaves it. Otherwise 87 for a bad\n"
    L"command line, 2 for a missing script, 126 for a plug-in that cannot be loaded,\n"
    L"13 for a script that cannot be loaded, the status of a command that stopped the\n"
    L"run, 1168 for a walk sent to an index that names no command, and 1223 for a run\n"
    L"cancelled with Ctrl+C.\n";

namespace {

bool StartsWithNoCase(const std::wstring& text, const wchar_t* prefix) {
  size_t i = 0;
  for (; prefix[i] != L'\0'; ++i) {
    if (i >= text.size() || towlower(text[i]) != towlower(prefix[i])) return false;
  }
  return true;
}

// An int_ preset: a whole number in decimal, 0x hex or leading-zero octal that
// fits in 32 bits, signed or not. Anything else would be read as 0, or cut to
// its low 32 bits, without a word.
bool IntValueOk(const std::wstring& value, std::wstring* why) {
  wchar_t* end = nullptr;
  errno = 0;
  long long number = wcstoll(value.c_str(), &end, 0);
  if (value.empty() || end == value.c_str() || *end != L'\0') {
    *why = hosttext::kPresetNoNumber;
    return false;
  }
  if (errno == ERANGE || number < INT32_MIN || number > static_cast<long long>(UINT32_MAX)) {
    *why = hosttext::kPresetTooBig;
    return false;
  }
  return true;
}

// "a,b,c" into ids; each a page's element id of letters, digits, '_' and '-'.
bool SplitIds(const std::wstring& list, std::vector<std::wstring>* ids) {
  size_t start = 0;
  for (;;) {
    size_t comma = list.find(L',', start);
    std::wstring id = list.substr(start, comma == std::wstring::npos ? std::wstring::npos : comma - start);
    if (id.empty()) return false;
    for (wchar_t c : id) {
      if (!iswalnum(c) && c != L'_' && c != L'-') return false;
    }
    ids->push_back(id);
    if (comma == std::wstring::npos) return true;
    start = comma + 1;
  }
}

}  // namespace

bool ParseOptions(const std::vector<std::wstring>& arguments, HostOptions* options, std::wstring* error) {
  for (const std::wstring& argument : arguments) {
    if (argument == L"/?" || StartsWithNoCase(argument, L"/help") || argument == L"--help" || argument == L"-h") {
      options->help = true;
    } else if (StartsWithNoCase(argument, L"/trace") && argument.size() == 6) {
      options->trace = true;
    } else if (StartsWithNoCase(argument, L"/autoanswer") &&
               (argument.size() == 11 || argument[11] == L'=')) {
      options->autoAnswer = true;
      if (argument.size() > 12) options->answer = static_cast<uint32_t>(wcstoul(argument.c_str() + 12, nullptr, 0));
    } else if (StartsWithNoCase(argument, L"/plugin=")) {
      options->plugin = argument.substr(8);
      if (options->plugin.empty()) {
        *error = L"/plugin= needs a path";
        return false;
      }
    } else if (StartsWithNoCase(argument, L"/langdll=")) {
      options->langDll = argument.substr(9);
      if (options->langDll.empty()) {
        *error = L"/langdll= needs a path";
        return false;
      }
    } else if (StartsWithNoCase(argument, L"/languages") && argument.size() == 10) {
      options->listLanguages = true;
    } else if (StartsWithNoCase(argument, L"/select-language=")) {
      options->selectLanguage = argument.substr(17);
      if (options->selectLanguage.empty()) {
        *error = L"/select-language= needs a language code";
        return false;
      }
    } else if (StartsWithNoCase(argument, L"/verify-downloads") && argument.size() == 17) {
      options->verifyDownloads = true;
    } else if (StartsWithNoCase(argument, L"/check") && argument.size() == 6) {
      options->check = true;
    } else if (StartsWithNoCase(argument, L"/result=")) {
      options->resultPath = argument.substr(8);
      if (options->resultPath.empty()) {
        *error = L"/result= needs a path";
        return false;
      }
    } else if (StartsWithNoCase(argument, L"/autoclick=")) {
      options->autoClicks.clear();
      if (!SplitIds(argument.substr(11), &options->autoClicks)) {
        *error = L"/autoclick= needs element ids separated by commas (letters, digits, _ and -): " + argument;
        return false;
      }
    } else if (StartsWithNoCase(argument, L"/autoclick-timeout=")) {
      wchar_t* end = nullptr;
      unsigned long seconds = wcstoul(argument.c_str() + 19, &end, 10);
      if (end == argument.c_str() + 19 || *end != L'\0' || seconds == 0 || seconds > 86400) {
        *error = L"/autoclick-timeout= needs a number of seconds from 1 to 86400: " + argument;
        return false;
      }
      options->autoClickSeconds = static_cast<uint32_t>(seconds);
    } else if (StartsWithNoCase(argument, L"/screens=")) {
      options->screens = argument.substr(9);
      if (options->screens.empty()) {
        *error = L"/screens= needs a folder";
        return false;
      }
    } else if (StartsWithNoCase(argument, L"/texts") && argument.size() == 6) {
      options->printTexts = true;
    } else if (StartsWithNoCase(argument, L"/set:")) {
      size_t equals = argument.find(L'=');
      std::wstring name = argument.substr(5, equals == std::wstring::npos ? std::wstring::npos : equals - 5);
      if (equals == std::wstring::npos || name.empty()) {
        *error = L"/set: needs name=value, as in /set:String_InstallPath=C:\\Product\\";
        return false;
      }
      if (name.compare(0, 4, L"int_") != 0 && name.compare(0, 7, L"String_") != 0) {
        *error = L"/set:" + name + L": only int_ and String_ variables can be preset";
        return false;
      }
      std::wstring value = argument.substr(equals + 1);
      if (name.compare(0, 4, L"int_") == 0 && !IntValueOk(value, error)) {
        *error = L"/set:" + name + L"=" + value + L": " + *error;
        return false;
      }
      options->presets.emplace_back(name, value);
    } else if (!argument.empty() && argument[0] != L'/' && options->script.empty()) {
      options->script = argument;
    }
  }
  return true;
}
