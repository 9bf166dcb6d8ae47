#include "host/ScriptLoader.h"

#include <msxml2.h>

#include <string>

#include "engine/XmlDom.h"
#include "engine/InstallCommand.h"

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

typedef std::vector<ScopedCom<IXMLDOMElement>> ElementList;

// The element children of node, in document order.
bool ElementChildren(IXMLDOMNode* node, ElementList* elements) {
  ScopedCom<IXMLDOMNodeList> children;
  if (node->get_childNodes(children.Receive()) != S_OK) return false;
  long count = 0;
  children.Get()->get_length(&count);
  for (long i = 0; i < count; ++i) {
    ScopedCom<IXMLDOMNode> child;
    if (children.Get()->get_item(i, child.Receive()) != S_OK) continue;
    DOMNodeType type;
    child.Get()->get_nodeType(&type);
    if (type != NODE_ELEMENT) continue;
    ScopedCom<IXMLDOMElement> element;
    if (child.Get()->QueryInterface(IID_IXMLDOMElement, reinterpret_cast<void**>(element.Receive())) == S_OK) {
      elements->push_back(std::move(element));
    }
  }
  return true;
}

std::wstring NodeName(IXMLDOMNode* node) {
  ScopedBstr name;
  node->get_nodeName(name.Receive());
  return BstrText(name);
}

bool ReadVariables(IXMLDOMElement* section, const std::wstring& path, LoadedScript* script, std::wstring* error) {
  ElementList elements;
  ElementChildren(section, &elements);
  bool ok = true;
  for (size_t i = 0; i < elements.size() && ok; ++i) {
    bool hasName = false;
    bool hasValue = false;
    std::wstring name = AttributeText(elements[i].Get(), L"name", &hasName);
    std::wstring value = AttributeText(elements[i].Get(), L"value", &hasValue);
    if (NodeName(elements[i].Get()) != L"variable" || !hasName || !hasValue) {
      *error = L"script '" + path + L"': variable #" + std::to_wstring(i + 1) +
               L" must be <variable name=\"...\" value=\"...\"/>";
      ok = false;
    } else if (name.compare(0, 4, L"int_") != 0 && name.compare(0, 7, L"String_") != 0) {
      *error = L"script '" + path + L"': variable '" + name + L"' must be an int_ or a String_ variable";
      ok = false;
    } else {
      script->variables.emplace_back(name, value);
    }
  }
  return ok;
}

// Creates and loads one command. Returns null and fills error when it can't.
CInstallCommand* MakeCommand(IXMLDOMElement* element, size_t position, HMODULE plugin, const std::wstring& where,
                             std::wstring* error) {
  std::wstring name = NodeName(element);
  std::string exportName = "GetC";
  for (wchar_t c : name) exportName.push_back(static_cast<char>(c < 128 ? c : '?'));
  exportName += "Command";
  auto factory = reinterpret_cast<CommandFactory>(reinterpret_cast<void*>(GetProcAddress(plugin, exportName.c_str())));
  if (factory == nullptr) {
    *error = where + L": unknown command (the plug-in has no export " + std::wstring(exportName.begin(), exportName.end()) +
             L")";
    return nullptr;
  }
  ScopedSelfFree<CInstallCommand> command(factory());
  if (!command) {
    *error = where + L": the factory returned no command (out of memory)";
    return nullptr;
  }
  ScopedCom<IXMLDOMNamedNodeMap> attributes;
  element->get_attributes(attributes.Receive());
  int32_t status = 0;
  try {
    // Load releases the reference it is given.
    status = command.Get()->Load(attributes.Release());
  } catch (const ComError& failure) {
    status = failure.hr;
  }
  if (status != 0) {
    *error = where + L": Load failed with status " + std::to_wstring(status) +
             (status == 1 ? L" (a required attribute is missing)" : L"");
    return nullptr;
  }
  // Some commands never read index and next themselves; give the engine's raw
  // reading a chance, then fall back to the element's position.
  if (command.Get()->GetIndex() == -1) {
    ScopedCom<IXMLDOMNamedNodeMap> raw;
    element->get_attributes(raw.Receive());
    command.Get()->LoadIndexes(raw.Get());
  }
  if (command.Get()->GetIndex() == -1) command.Get()->SetIndex(static_cast<int32_t>(position));
  return command.Release();
}

}  // namespace

void FreeCommands(CommandMap* commands) {
  if (commands == nullptr) return;
  for (auto& entry : *commands) {
    if (entry.second != nullptr) entry.second->Free();
  }
  delete commands;
}

namespace {

// Loads the document from a file (text null) or from text, and says why not.
bool LoadDocument(const std::wstring& path, const std::wstring* text, ScopedCom<IXMLDOMDocument>* document,
                  std::wstring* error) {
  HRESULT hr = CoCreateInstance(kClsidDomDocument30, nullptr, CLSCTX_INPROC_SERVER, kIidXmlDomDocument,
                                reinterpret_cast<void**>(document->Receive()));
  if (FAILED(hr)) {
    wchar_t code[16];
    swprintf_s(code, 16, L"0x%08lX", static_cast<unsigned long>(hr));
    *error = L"cannot create the MSXML 3.0 document (error " + std::wstring(code) + L")";
    return false;
  }
  document->Get()->put_async(VARIANT_FALSE);
  VARIANT_BOOL loaded = VARIANT_FALSE;
  if (text != nullptr) {
    ScopedBstr xml = MakeBstr(text->c_str());
    hr = document->Get()->loadXML(xml.Get(), &loaded);
  } else {
    // A path that cannot be made a system string is loaded as null, which fails.
    ScopedBstr file(SysAllocString(path.c_str()));
    // The variant only lends the string to the call.
    VARIANT source;
    VariantInit(&source);
    source.vt = VT_BSTR;
    source.bstrVal = file.Get();
    hr = document->Get()->load(source, &loaded);
  }
  if (hr == S_OK && loaded == VARIANT_TRUE) return true;
  std::wstring reason;
  ScopedCom<IXMLDOMParseError> parseError;
  if (document->Get()->get_parseError(parseError.Receive()) == S_OK && parseError.Get() != nullptr) {
    ScopedBstr why;
    long line = 0;
    parseError.Get()->get_reason(why.Receive());
    parseError.Get()->get_line(&line);
    reason = BstrText(why);
    while (!reason.empty() && (reason.back() == L'\n' || reason.back() == L'\r')) reason.pop_back();
    if (line > 0) reason += L" at line " + std::to_wstring(line);
  }
  *error = L"script '" + path + L"' cannot be read as XML" + (reason.empty() ? L"" : L": " + reason);
  return false;
}

bool ReadScript(const std::wstring& path, IXMLDOMDocument* document, HMODULE plugin, LoadedScript* script,
                std::wstring* error);

}  // namespace

bool LoadScript(const std::wstring& path, HMODULE plugin, LoadedScript* script, std::wstring* error) {
  ScopedCom<IXMLDOMDocument> document;
  return LoadDocument(path, nullptr, &document, error) && ReadScript(path, document.Get(), plugin, script, error);
}

bool LoadScriptText(const std::wstring& text, const std::wstring& name, HMODULE plugin, LoadedScript* script,
                    std::wstring* error) {
  // loadXML takes wide text; an encoding declaration would contradict it.
  std::wstring body = text;
  if (body.compare(0, 5, L"<?xml") == 0) {
    size_t end = body.find(L"?>");
    if (end != std::wstring::npos) body.erase(0, end + 2);
  }
  ScopedCom<IXMLDOMDocument> document;
  return LoadDocument(name, &body, &document, error) && ReadScript(name, document.Get(), plugin, script, error);
}

namespace {

bool ReadScript(const std::wstring& path, IXMLDOMDocument* document, HMODULE plugin, LoadedScript* script,
                std::wstring* error) {
  ScopedCom<IXMLDOMElement> root;
  if (document->get_documentElement(root.Receive()) != S_OK || NodeName(root.Get()) != L"install") {
    *error = L"script '" + path + L"': the root element must be <install>";
    return false;
  }
  ElementList sections;
  ElementChildren(root.Get(), &sections);
  IXMLDOMElement* commandsSection = nullptr;  // one of sections
  bool ok = true;
  for (const ScopedCom<IXMLDOMElement>& section : sections) {
    std::wstring name = NodeName(section.Get());
    if (name == L"variables") {
      ok = ok && ReadVariables(section.Get(), path, script, error);
    } else if (name == L"commands" && commandsSection == nullptr) {
      commandsSection = section.Get();
    }
  }
  if (ok && commandsSection == nullptr) {
    *error = L"script '" + path + L"': <install> has no <commands> element";
    ok = false;
  }

  CommandMap* commands = new CommandMap();
  ElementList elements;
  if (ok) ElementChildren(commandsSection, &elements);
  if (ok && elements.empty()) {
    *error = L"script '" + path + L"': <commands> holds no command";
    ok = false;
  }
  for (size_t i = 0; ok && i < elements.size(); ++i) {
    std::wstring where = L"script '" + path + L"', element <" + NodeName(elements[i].Get()) + L"> (command #" +
                         std::to_wstring(i + 1) + L")";
    ScopedSelfFree<CInstallCommand> command(MakeCommand(elements[i].Get(), i + 1, plugin, where, error));
    if (!command) {
      ok = false;
      break;
    }
    int32_t index = command.Get()->GetIndex();
    if (index == 0) {
      *error = where + L": index 0 is the end marker and cannot name a command";
      ok = false;
    } else if (commands->count(index) != 0) {
      *error = where + L": index " + std::to_wstring(index) + L" is used by <" + script->elementNames[index] +
               L"> already";
      ok = false;
    }
    if (!ok) break;
    (*commands)[index] = command.Release();
    script->elementNames[index] = NodeName(elements[i].Get());
    if (i == 0) script->entry = index;
  }
  if (ok) {
    bool hasEntry = false;
    std::wstring entry = AttributeText(commandsSection, L"entry", &hasEntry);
    if (hasEntry) {
      script->entry = static_cast<int32_t>(wcstol(entry.c_str(), nullptr, 0));
      if (commands->count(script->entry) == 0) {
        *error = L"script '" + path + L"': the entry index " + entry + L" names no command";
        ok = false;
      }
    }
  }
  if (!ok) {
    FreeCommands(commands);
    script->elementNames.clear();
    return false;
  }
  script->commands = commands;
  return true;
}

}  // namespace
