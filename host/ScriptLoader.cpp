#include "host/ScriptLoader.h"

#include <msxml2.h>

#include <string>

#include "engine/InstallCommand.h"
#include "engine/XmlDom.h"
#include "host/AttributeRecorder.h"
#include "host/HostTexts.h"

namespace {

typedef CInstallCommand* (*CommandFactory)();

std::wstring AttributeText(IXMLDOMElement* element, const wchar_t* name, bool* present) {
  ScopedBstr attributeName = MakeBstr(name);
  // The variant is the callee's to fill: VariantClear releases whatever it holds.
  VARIANT value;
  VariantInit(&value);
  *present = element->getAttribute(attributeName.Get(), &value) == S_OK && value.vt == VT_BSTR;
  std::wstring text = *present ? std::wstring(value.bstrVal) : std::wstring();
  VariantClear(&value);
  return text;
}

// Every attribute as written, in document order.
std::vector<std::pair<std::wstring, std::wstring>> AllAttributes(IXMLDOMElement* element) {
  std::vector<std::pair<std::wstring, std::wstring>> all;
  ScopedCom<IXMLDOMNamedNodeMap> attributes;
  long count = 0;
  if (element->get_attributes(attributes.Receive()) != S_OK || attributes.Get()->get_length(&count) != S_OK) {
    return all;
  }
  for (long i = 0; i < count; ++i) {
    ScopedCom<IXMLDOMNode> node;
    if (attributes.Get()->get_item(i, node.Receive()) != S_OK) continue;
    ScopedBstr name;
    ScopedBstr text;
    node.Get()->get_nodeName(name.Receive());
    node.Get()->get_text(text.Receive());
    all.emplace_back(BstrText(name), BstrText(text));
  }
  return all;
}

typedef std::vector<ScopedCom<IXMLDOMElement>> ElementList;

// The element children of node, in document order. MSXML under Wine finds the
// i-th entry of a child list by counting from the first child, so indexing the
// list costs the square of its length; following the siblings stays linear.
bool ElementChildren(IXMLDOMNode* node, ElementList* elements) {
  ScopedCom<IXMLDOMNode> child;
  if (FAILED(node->get_firstChild(child.Receive()))) return false;
  while (child) {
    DOMNodeType type = NODE_INVALID;
    child.Get()->get_nodeType(&type);
    ScopedCom<IXMLDOMElement> element;
    if (type == NODE_ELEMENT &&
        child.Get()->QueryInterface(IID_IXMLDOMElement, reinterpret_cast<void**>(element.Receive())) == S_OK) {
      elements->push_back(std::move(element));
    }
    ScopedCom<IXMLDOMNode> following;
    if (child.Get()->get_nextSibling(following.Receive()) != S_OK) break;
    child = std::move(following);
  }
  return true;
}

std::wstring NodeName(IXMLDOMNode* node) {
  ScopedBstr name;
  node->get_nodeName(name.Receive());
  return BstrText(name);
}

// The positions of the scan, matched to the document's elements by order: both
// list the same elements in the same order.
class Positions {
 public:
  explicit Positions(const XmlScan& scan) : scan_(scan) {}
  // The scan's children of the parent found at parentScan (-1: the document).
  std::vector<int> Children(int parentScan) const {
    return scan_.wellFormed ? scan_.Children(parentScan) : std::vector<int>();
  }
  TextPosition At(const std::vector<int>& children, size_t i) const {
    return i < children.size() ? scan_.elements[children[i]].at : TextPosition();
  }

 private:
  const XmlScan& scan_;
};

// Says what is wrong: in a run the first problem ends the load with a message; in
// a check each one is a finding and the load goes on.
class Problems {
 public:
  Problems(const std::wstring& path, std::wstring* error, LoadCheck* check)
      : path_(path), error_(error), check_(check) {}

  // False when the load must stop.
  bool Error(const TextPosition& at, const std::wstring& element, size_t position, const std::wstring& text) {
    if (check_ != nullptr) {
      Finding finding;
      finding.at = at;
      finding.element = element;
      finding.text = text;
      check_->findings.push_back(finding);
      return true;
    }
    std::wstring where = L"script '" + path_ + L"'";
    if (at.line > 0) where += L", " + PositionText(at);
    if (!element.empty()) {
      where += L", element <" + element + L">";
      if (position > 0) where += L" (command #" + std::to_wstring(position) + L")";
    }
    *error_ = where + L": " + text;
    failed_ = true;
    return false;
  }
  bool Failed() const { return failed_; }
  bool Checking() const { return check_ != nullptr; }

 private:
  const std::wstring& path_;
  std::wstring* error_;
  LoadCheck* check_;
  bool failed_ = false;
};

bool ReadVariables(IXMLDOMElement* section, const Positions& positions, int sectionScan, LoadedScript* script,
                   Problems* problems) {
  ElementList elements;
  ElementChildren(section, &elements);
  std::vector<int> scanned = positions.Children(sectionScan);
  for (size_t i = 0; i < elements.size(); ++i) {
    bool hasName = false;
    bool hasValue = false;
    std::wstring name = AttributeText(elements[i].Get(), L"name", &hasName);
    std::wstring value = AttributeText(elements[i].Get(), L"value", &hasValue);
    std::wstring element = NodeName(elements[i].Get());
    bool ok = true;
    if (element != L"variable" || !hasName || !hasValue) {
      ok = problems->Error(positions.At(scanned, i), element, 0,
                           L"variable #" + std::to_wstring(i + 1) + hosttext::kVariableShape);
    } else if (name.compare(0, 4, L"int_") != 0 && name.compare(0, 7, L"String_") != 0) {
      ok = problems->Error(positions.At(scanned, i), element, 0, L"variable '" + name + hosttext::kVariablePrefix);
    } else {
      script->variables.emplace_back(name, value);
    }
    if (!ok) return false;
  }
  return true;
}

// Why a Load failed, told from the last attribute it asked for: absent, that
// attribute is missing; present, its value was refused.
std::wstring LoadFailure(int32_t status, IXMLDOMElement* element, const std::vector<std::wstring>& asked) {
  std::wstring text = hosttext::kLoadFailed + std::to_wstring(status);
  if (asked.empty()) return text;
  bool present = false;
  std::wstring value = AttributeText(element, asked.back().c_str(), &present);
  if (present) return text + hosttext::kLoadRefused + asked.back() + L"=\"" + value + L"\"";
  return text + hosttext::kLoadMissing + asked.back() + L"' is missing";
}

// Creates and loads one command; null when it can't, after saying why.
CInstallCommand* MakeCommand(IXMLDOMElement* element, size_t position, HMODULE plugin, const TextPosition& at,
                             ElementRecord* record, Problems* problems) {
  std::wstring name = NodeName(element);
  std::string exportName = "GetC";
  for (wchar_t c : name) exportName.push_back(static_cast<char>(c < 128 ? c : '?'));
  exportName += "Command";
  auto factory = reinterpret_cast<CommandFactory>(reinterpret_cast<void*>(GetProcAddress(plugin, exportName.c_str())));
  if (factory == nullptr) {
    problems->Error(at, name, position,
                    hosttext::kUnknownCommand + std::wstring(exportName.begin(), exportName.end()) + L")");
    return nullptr;
  }
  ScopedSelfFree<CInstallCommand> command(factory());
  if (!command) {
    problems->Error(at, name, position, hosttext::kNoObject);
    return nullptr;
  }
  ScopedCom<IXMLDOMNamedNodeMap> attributes;
  element->get_attributes(attributes.Receive());
  if (attributes) attributes.Reset(AttributeRecorder::Create(attributes.Get(), &record->asked));
  int32_t status = 0;
  try {
    // Load releases the reference it is given.
    status = command.Get()->Load(attributes.Release());
  } catch (const ComError& failure) {
    status = failure.hr;
  }
  if (status != 0) {
    problems->Error(at, name, position, LoadFailure(status, element, record->asked));
    return nullptr;
  }
  // Some commands never read index and next themselves; give the engine's raw
  // reading a chance, then fall back to the element's position.
  if (command.Get()->GetIndex() == -1) {
    ScopedCom<IXMLDOMNamedNodeMap> raw;
    element->get_attributes(raw.Receive());
    if (raw) raw.Reset(AttributeRecorder::Create(raw.Get(), &record->asked));
    command.Get()->LoadIndexes(raw.Get());
  }
  if (command.Get()->GetIndex() == -1) command.Get()->SetIndex(static_cast<int32_t>(position));
  return command.Release();
}

// True when index lies past every key of the map, so it is certainly new.
bool AscendsPast(const CommandMap& commands, int32_t index) {
  return commands.empty() || commands.rbegin()->first < index;
}

bool ReadCommands(IXMLDOMElement* section, const Positions& positions, int sectionScan, HMODULE plugin,
                  LoadedScript* script, Problems* problems) {
  ElementList elements;
  ElementChildren(section, &elements);
  std::vector<int> scanned = positions.Children(sectionScan);
  if (elements.empty()) return problems->Error(script->entryAt, L"commands", 0, hosttext::kNoCommand);
  if (problems->Checking()) script->records.resize(elements.size());
  CommandMap& commands = *script->commands;
  for (size_t i = 0; i < elements.size(); ++i) {
    ElementRecord scratch;
    ElementRecord* record = problems->Checking() ? &script->records[i] : &scratch;
    record->element = NodeName(elements[i].Get());
    record->at = positions.At(scanned, i);
    if (problems->Checking()) record->attributes = AllAttributes(elements[i].Get());
    ScopedSelfFree<CInstallCommand> command(
        MakeCommand(elements[i].Get(), i + 1, plugin, record->at, record, problems));
    if (!command) {
      if (problems->Failed()) return false;
      continue;
    }
    int32_t index = command.Get()->GetIndex();
    if (index == 0) {
      if (!problems->Error(record->at, record->element, i + 1, hosttext::kIndexZero)) return false;
      continue;
    }
    if (!AscendsPast(commands, index) && commands.count(index) != 0) {
      const CommandSource& first = script->sources[index];
      std::wstring text = L"index " + std::to_wstring(index) + hosttext::kIndexTaken + first.element + L">";
      if (first.at.line > 0) text += L" (" + PositionText(first.at) + L")";
      if (!problems->Error(record->at, record->element, i + 1, text)) return false;
      continue;
    }
    record->loaded = true;
    record->index = index;
    record->next = command.Get()->next;
    if (commands.empty()) script->entry = index;
    // Scripts list their commands in ascending order as a rule: those entries go
    // in at the end without a search.
    commands.emplace_hint(commands.end(), index, command.Release());
    script->sources.emplace_hint(script->sources.end(), index, CommandSource{record->element, record->at});
  }
  bool hasEntry = false;
  std::wstring entry = AttributeText(section, L"entry", &hasEntry);
  if (hasEntry) {
    script->entry = static_cast<int32_t>(wcstol(entry.c_str(), nullptr, 0));
    if (commands.count(script->entry) == 0) {
      return problems->Error(script->entryAt, L"commands", 0, L"the entry index " + entry + hosttext::kNamesNoCommand);
    }
  }
  return true;
}

bool ReadScript(IXMLDOMDocument* document, const XmlScan& scan, HMODULE plugin, LoadedScript* script,
                Problems* problems) {
  Positions positions(scan);
  std::vector<int> top = positions.Children(-1);
  int rootScan = top.empty() ? -1 : top[0];
  ScopedCom<IXMLDOMElement> root;
  if (document->get_documentElement(root.Receive()) != S_OK || NodeName(root.Get()) != L"install") {
    problems->Error(positions.At(top, 0), L"", 0, hosttext::kRootNotInstall);
    return false;
  }
  ElementList sections;
  ElementChildren(root.Get(), &sections);
  std::vector<int> scannedSections = rootScan < 0 ? std::vector<int>() : positions.Children(rootScan);
  IXMLDOMElement* commandsSection = nullptr;  // one of sections
  int commandsScan = -2;                      // no scanned element has that parent
  for (size_t i = 0; i < sections.size(); ++i) {
    std::wstring name = NodeName(sections[i].Get());
    int sectionScan = i < scannedSections.size() ? scannedSections[i] : -2;
    if (name == L"variables") {
      if (!ReadVariables(sections[i].Get(), positions, sectionScan, script, problems)) return false;
    } else if (name == L"commands" && commandsSection == nullptr) {
      commandsSection = sections[i].Get();
      commandsScan = sectionScan;
      script->entryAt = positions.At(scannedSections, i);
    }
  }
  if (commandsSection == nullptr) {
    problems->Error(positions.At(top, 0), L"install", 0, hosttext::kNoCommandsSection);
    return false;
  }
  script->commands = new CommandMap();
  if (ReadCommands(commandsSection, positions, commandsScan, plugin, script, problems)) return true;
  FreeCommands(script->commands);
  script->commands = nullptr;
  script->sources.clear();
  return false;
}

// Why MSXML refused a document, in the words of the scan when it finds the
// fault, since MSXML under Wine says only "error".
std::wstring NotXml(IXMLDOMDocument* document, const XmlScan& scan) {
  if (!scan.wellFormed) return hosttext::kNotXml + scan.fault;
  if (scan.deepest >= 0 && scan.elements[scan.deepest].depth > hosttext::kDeepNesting) {
    const ScannedElement& deepest = scan.elements[scan.deepest];
    return hosttext::kTooDeep + std::to_wstring(deepest.depth) + L" deep at <" + deepest.name + L"> (" +
           PositionText(deepest.at) + L")";
  }
  ParseError parsed = ReadParseError(document);
  std::wstring reason = BstrText(parsed.reason);
  while (!reason.empty() && (reason.back() == L'\n' || reason.back() == L'\r')) reason.pop_back();
  return hosttext::kMsxmlRefused + (reason.empty() ? std::wstring(L"no reason given") : reason);
}

// Loads the document from a file (text null) or from text, and the scan of its
// text for positions.
bool OpenDocument(const std::wstring& path, const std::wstring& scanned, const std::wstring* text,
                  ScopedCom<IXMLDOMDocument>* document, XmlScan* scan, Problems* problems) {
  *scan = ScanXml(scanned);
  document->Reset(CreateDocument30());
  if (!*document) {
    problems->Error(TextPosition(), L"", 0, hosttext::kNoMsxml);
    return false;
  }
  document->Get()->put_async(VARIANT_FALSE);
  bool loaded = false;
  if (text != nullptr) {
    ScopedBstr xml = MakeBstr(text->c_str());
    VARIANT_BOOL done = VARIANT_FALSE;
    loaded = document->Get()->loadXML(xml.Get(), &done) == S_OK && done == VARIANT_TRUE;
  } else {
    try {
      loaded = LoadDocument(document->Get(), path.c_str());
    } catch (const ComError&) {
      loaded = false;
    }
  }
  if (!loaded) {
    problems->Error(scan->wellFormed ? TextPosition() : scan->faultAt, L"", 0, NotXml(document->Get(), *scan));
    return false;
  }
  return true;
}

}  // namespace

void FreeCommands(CommandMap* commands) {
  if (commands == nullptr) return;
  for (auto& entry : *commands) {
    if (entry.second != nullptr) entry.second->Free();
  }
  delete commands;
}

bool LoadScript(const std::wstring& path, HMODULE plugin, LoadedScript* script, std::wstring* error,
                LoadCheck* check) {
  Problems problems(path, error, check);
  std::wstring text;
  std::wstring whatItIs;
  if (!ReadScriptFile(path, &text, &whatItIs)) {
    problems.Error(TextPosition(), L"", 0, hosttext::kNotAScript + whatItIs);
    return false;
  }
  ScopedCom<IXMLDOMDocument> document;
  XmlScan scan;
  return OpenDocument(path, text, nullptr, &document, &scan, &problems) &&
         ReadScript(document.Get(), scan, plugin, script, &problems);
}

bool LoadScriptText(const std::wstring& text, const std::wstring& name, HMODULE plugin, LoadedScript* script,
                    std::wstring* error, LoadCheck* check) {
  Problems problems(name, error, check);
  // loadXML takes wide text; an encoding declaration would contradict it.
  std::wstring body = text;
  if (body.compare(0, 5, L"<?xml") == 0) {
    size_t end = body.find(L"?>");
    if (end != std::wstring::npos) body.erase(0, end + 2);
  }
  ScopedCom<IXMLDOMDocument> document;
  XmlScan scan;
  return OpenDocument(name, text, &body, &document, &scan, &problems) &&
         ReadScript(document.Get(), scan, plugin, script, &problems);
}
