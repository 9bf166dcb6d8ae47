#include "host/ScriptCheck.h"

#include <algorithm>
#include <cwctype>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "engine/StoreNames.h"
#include "host/HostTexts.h"

namespace {

// Names the engine publishes or that commands write under names of their own,
// besides those a script's attributes name.
const char* const kKnownNames[] = {
    storename::kReturnCode, storename::kApplicationPath, storename::kCommandLine, storename::kX64,
    storename::kX86, storename::kArchitecture, storename::kParentCommandLine, storename::kIsWindowsXp,
    storename::kIsWindowsVista, storename::kIsWindows7, storename::kIsSilent, storename::kIsUpdate,
    storename::kSendAur, storename::kForceFail, storename::kCmdLineInstallPath, storename::kCmdLineDefaultLanguage,
    storename::kCommonPrograms, storename::kCommonDesktopPath, storename::kCommonStartup,
    storename::kIsVeltoInstalled, storename::kInstallProgressPercent, storename::kInstallFailed,
    storename::kInstallFailReason, storename::kInstallProgressText, storename::kUserActionInstall,
    storename::kUserActionRepair, storename::kUserActionUpdate, storename::kUserActionUninstall,
    storename::kDefaultLanguage, storename::kForceSingleLang, storename::kLanguageMetricsSuffix,
    storename::kMultiLanguageAvailable, storename::kIsLangRTL, storename::kSingleInstance,
    storename::kLicenseOwner, storename::kLicenseKey, storename::kLicenseExpiry, storename::kLicenseEdition,
    storename::kLicenseCompany, storename::kSetupCancelled,
};

std::wstring Wide(const char* text) { return std::wstring(text, text + strlen(text)); }

std::wstring Lower(std::wstring text) {
  for (wchar_t& c : text) c = static_cast<wchar_t>(towlower(c));
  return text;
}

// An attribute that names a variable a command fills (var, VarExists, errVar,
// eventVar, ...): its value is a name some command sets.
bool NamesAVariable(const std::wstring& attribute) {
  std::wstring lower = Lower(attribute);
  return lower == L"variable" || lower == L"varexists" ||
         (lower.size() >= 3 && lower.compare(lower.size() - 3, 3, L"var") == 0);
}

const std::wstring* Attribute(const ElementRecord& record, const wchar_t* name) {
  for (const auto& attribute : record.attributes) {
    if (attribute.first == name) return &attribute.second;
  }
  return nullptr;
}

bool Number(const ElementRecord& record, const wchar_t* name, long* value) {
  const std::wstring* text = Attribute(record, name);
  if (text != nullptr) *value = wcstol(text->c_str(), nullptr, 0);
  return text != nullptr;
}

class Checker {
 public:
  Checker(const LoadedScript& script, LoadCheck* check) : script_(script), check_(check) {
    for (size_t i = 0; i < script.records.size(); ++i) {
      if (script.records[i].loaded) byIndex_[script.records[i].index] = i;
    }
    if (!byIndex_.empty()) highest_ = byIndex_.rbegin()->first;
  }

  void Run() {
    std::vector<long> targets(script_.records.size(), 0);  // where the walk goes next, 0: it ends
    for (size_t i = 0; i < script_.records.size(); ++i) {
      const ElementRecord& record = script_.records[i];
      if (!record.loaded) continue;
      Attributes(record);
      targets[i] = Next(record);
      if (record.element == L"Fork") Fork(record);
      if (record.element == L"Join" || record.element == L"Cancel") threadUsers_.push_back(i);
      if (record.element == L"WaitForHandle" || record.element == L"SetEvent") eventUsers_.push_back(i);
    }
    Threads();
    Events();
    Variables();
    Reach(targets);
    Loops(targets);
  }

 private:
  void Add(bool error, const ElementRecord& record, const std::wstring& text) {
    Finding finding;
    finding.error = error;
    finding.at = record.at;
    finding.element = record.element;
    finding.text = text;
    check_->findings.push_back(finding);
  }

  bool Exists(long index) const { return byIndex_.count(static_cast<int32_t>(index)) != 0; }

  void Attributes(const ElementRecord& record) {
    for (const auto& attribute : record.attributes) {
      if (std::find(record.asked.begin(), record.asked.end(), attribute.first) != record.asked.end()) continue;
      std::wstring text = L"attribute '" + attribute.first + hosttext::kCheckNeverRead;
      for (const std::wstring& asked : record.asked) {
        if (Lower(asked) == Lower(attribute.first)) text += hosttext::kCheckDidYouMean + asked + L"'?)";
      }
      Add(false, record, text);
    }
  }

  // The index the walk visits after record: 0 when it ends there. Stepping past
  // the highest index ends a plain list of commands; any other index that names
  // no command is an error.
  long Next(const ElementRecord& record) {
    if (record.next == 0) return 0;
    bool named = record.next > 0;
    long next = named ? record.next : static_cast<long>(record.index) + 1;
    if (Exists(next)) return next;
    if (named || next <= highest_) {
      std::wstring target = std::to_wstring(next);
      Add(true, record, (named ? L"next=\"" + target + L"\"" : L"the following index " + target) +
                            hosttext::kCheckNoSuchCommand);
    }
    return 0;
  }

  void Fork(const ElementRecord& record) {
    long threadId = 0;
    long threadStart = 0;
    if (Number(record, L"threadStart", &threadStart)) {
      starts_.push_back(threadStart);
      if (!Exists(threadStart)) {
        Add(true, record, L"threadStart=\"" + std::to_wstring(threadStart) + L"\"" + hosttext::kCheckNoSuchCommand);
      }
    }
    if (Number(record, L"threadId", &threadId) && !forked_.insert(threadId).second) {
      Add(false, record, L"threadId " + std::to_wstring(threadId) + hosttext::kCheckForkedTwice);
    }
  }

  void Threads() {
    for (size_t i : threadUsers_) {
      long threadId = 0;
      if (Number(script_.records[i], L"threadId", &threadId) && forked_.count(threadId) == 0) {
        Add(false, script_.records[i], L"threadId " + std::to_wstring(threadId) + hosttext::kCheckNotForked);
      }
    }
  }

  void Events() {
    std::set<std::wstring> made;
    for (const ElementRecord& record : script_.records) {
      const std::wstring* name = Attribute(record, L"eventVar");
      if (record.loaded && record.element == L"CreateEvent" && name != nullptr) made.insert(*name);
    }
    for (size_t i : eventUsers_) {
      const std::wstring* name = Attribute(script_.records[i], L"eventVar");
      if (name == nullptr || made.count(*name) != 0) continue;
      if (Wide(storename::kSingleInstance) == L"HANDLE_" + *name) continue;
      Add(false, script_.records[i], L"eventVar \"" + *name + hosttext::kCheckNoEvent);
    }
  }

  void Variables() {
    std::unordered_set<std::wstring> known;
    for (const char* name : kKnownNames) known.insert(Wide(name));
    for (const auto& variable : script_.variables) known.insert(variable.first);
    for (const ElementRecord& record : script_.records) {
      for (const auto& attribute : record.attributes) {
        if (!NamesAVariable(attribute.first)) continue;
        known.insert(L"int_" + attribute.second);
        known.insert(L"String_" + attribute.second);
      }
    }
    for (const ElementRecord& record : script_.records) {
      std::set<std::wstring> reported;  // one finding per name and element
      for (const auto& attribute : record.attributes) {
        if (attribute.first == L"execCondition" && known.count(L"int_" + attribute.second) == 0 &&
            reported.insert(L"int_" + attribute.second).second) {
          Add(false, record, L"execCondition \"" + attribute.second + hosttext::kCheckConditionUnset);
        }
        for (size_t open = attribute.second.find(L'['); open != std::wstring::npos;
             open = attribute.second.find(L'[', open + 1)) {
          size_t close = attribute.second.find(L']', open);
          if (close == std::wstring::npos) break;
          std::wstring name = L"String_" + attribute.second.substr(open + 1, close - open - 1);
          if (known.count(name) == 0 && reported.insert(name).second) {
            Add(false, record, L"[" + name.substr(7) + hosttext::kCheckBracketUnset);
          }
        }
      }
    }
  }

  // Commands no walk reaches from the entry or a Fork's threadStart.
  void Reach(const std::vector<long>& targets) {
    std::vector<bool> reached(script_.records.size(), false);
    std::vector<long> pending(starts_);
    pending.push_back(script_.entry);
    while (!pending.empty()) {
      auto found = byIndex_.find(static_cast<int32_t>(pending.back()));
      pending.pop_back();
      if (found == byIndex_.end() || reached[found->second]) continue;
      reached[found->second] = true;
      if (targets[found->second] != 0) pending.push_back(targets[found->second]);
    }
    for (size_t i = 0; i < reached.size(); ++i) {
      if (script_.records[i].loaded && !reached[i]) Add(false, script_.records[i], hosttext::kCheckUnreachable);
    }
  }

  // Each command has one next, so the walk's paths form chains that end or run
  // into one loop. A loop with no command that waits never ends.
  void Loops(const std::vector<long>& targets) {
    std::vector<int> state(targets.size(), 0);  // 0 unseen, 1 on the current path, 2 done
    for (size_t start = 0; start < targets.size(); ++start) {
      std::vector<size_t> path;
      for (size_t at = start; script_.records[at].loaded && state[at] == 0;) {
        state[at] = 1;
        path.push_back(at);
        auto found = byIndex_.find(static_cast<int32_t>(targets[at]));
        if (targets[at] == 0 || found == byIndex_.end()) break;
        at = found->second;
        if (state[at] == 1) LoopFrom(path, at);
      }
      for (size_t visited : path) state[visited] = 2;
    }
  }

  void LoopFrom(const std::vector<size_t>& path, size_t first) {
    auto begin = std::find(path.begin(), path.end(), first);
    std::wstring chain;
    for (auto it = begin; it != path.end(); ++it) {
      const ElementRecord& record = script_.records[*it];
      if (record.element == L"WaitForHandle" || record.element == L"Join") return;
      chain += std::to_wstring(record.index) + L" -> ";
    }
    Add(false, script_.records[first], hosttext::kCheckBusyLoop + chain + std::to_wstring(script_.records[first].index));
  }

  const LoadedScript& script_;
  LoadCheck* check_;
  std::map<int32_t, size_t> byIndex_;
  long highest_ = 0;
  std::vector<long> starts_;
  std::set<long> forked_;
  std::vector<size_t> threadUsers_;
  std::vector<size_t> eventUsers_;
};

}  // namespace

void CheckScript(const LoadedScript& script, LoadCheck* check) { Checker(script, check).Run(); }

std::wstring FindingsText(const std::wstring& file, const std::vector<Finding>& findings) {
  std::vector<const Finding*> sorted;
  for (const Finding& finding : findings) sorted.push_back(&finding);
  std::stable_sort(sorted.begin(), sorted.end(), [](const Finding* a, const Finding* b) {
    return a->at.line != b->at.line ? a->at.line < b->at.line : a->at.column < b->at.column;
  });
  std::wstring text;
  int errors = 0;
  for (const Finding* finding : sorted) {
    text += file;
    if (finding->at.line > 0) text += L":" + std::to_wstring(finding->at.line) + L":" + std::to_wstring(finding->at.column);
    text += finding->error ? L": error: " : L": warning: ";
    if (!finding->element.empty()) text += L"<" + finding->element + L">: ";
    text += finding->text + L"\n";
    errors += finding->error ? 1 : 0;
  }
  text += std::to_wstring(errors) + L" error(s), " + std::to_wstring(findings.size() - errors) + L" warning(s)\n";
  return text;
}

int CheckExitCode(const std::vector<Finding>& findings) {
  int code = hostexit::kCheckClean;
  for (const Finding& finding : findings) {
    code = std::max<int>(code, finding.error ? hostexit::kCheckErrors : hostexit::kCheckWarnings);
  }
  return code;
}
