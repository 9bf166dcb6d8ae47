#include "engine/XmlDom.h"

#include "engine/interfaces/HostInterfaces.h"

const CLSID kClsidDomDocument30 = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
const IID kIidXmlDomDocument = {0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

IXMLDOMDocument* CreateDocument30() {
  IXMLDOMDocument* document = nullptr;
  if (CoCreateInstance(kClsidDomDocument30, nullptr, CLSCTX_INPROC_SERVER, kIidXmlDomDocument,
                       reinterpret_cast<void**>(&document)) != S_OK) {
    return nullptr;
  }
  return document;
}

bool LoadDocument(IXMLDOMDocument* document, const wchar_t* path) {
  ScopedBstr text(SysAllocString(path));
  if (!text) throw ComError{E_OUTOFMEMORY};
  // The variant only lends the string to the call; the string stays text's.
  VARIANT source;
  VariantInit(&source);
  source.vt = VT_BSTR;
  source.bstrVal = text.Get();
  VARIANT_BOOL loaded = VARIANT_FALSE;
  HRESULT hr = document->load(source, &loaded);
  return hr == S_OK && loaded == VARIANT_TRUE;
}

ParseError ReadParseError(IXMLDOMDocument* document) {
  ParseError result;
  ScopedCom<IXMLDOMParseError> error;
  if (document->get_parseError(error.Receive()) == S_OK && error.Get() != nullptr) {
    error.Get()->get_reason(result.reason.Receive());
    error.Get()->get_line(&result.line);
    error.Get()->get_linepos(&result.column);
  }
  return result;
}

bool IsComment(IXMLDOMNode* node) {
  DOMNodeType type = NODE_INVALID;
  return node->get_nodeType(&type) == S_OK && type == NODE_COMMENT;
}
