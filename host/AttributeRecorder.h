// The attribute map the engine hands to a command's Load: it passes every call
// on to the element's own map and writes down the names Load asks for, in order.
// From them the engine tells which attribute a failing Load stopped at, and the
// checker which attributes of an element no command ever reads (a typo such as
// errvar for errVar).
#pragma once

#include <windows.h>
#include <msxml2.h>

#include <string>
#include <vector>

#include "engine/ScopedHandle.h"

class AttributeRecorder : public IXMLDOMNamedNodeMap {
 public:
  // Made with one reference, which the caller hands on to Load. asked outlives
  // the recorder's use by Load, and is filled as Load reads.
  static AttributeRecorder* Create(IXMLDOMNamedNodeMap* inner, std::vector<std::wstring>* asked);

  // IUnknown
  HRESULT WINAPI QueryInterface(REFIID iid, void** object) override;
  ULONG WINAPI AddRef() override;
  ULONG WINAPI Release() override;
  // IDispatch
  HRESULT WINAPI GetTypeInfoCount(UINT* count) override;
  HRESULT WINAPI GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  HRESULT WINAPI GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
  HRESULT WINAPI Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                        EXCEPINFO* exception, UINT* argumentError) override;
  // IXMLDOMNamedNodeMap
  HRESULT WINAPI getNamedItem(BSTR name, IXMLDOMNode** item) override;
  HRESULT WINAPI setNamedItem(IXMLDOMNode* newItem, IXMLDOMNode** item) override;
  HRESULT WINAPI removeNamedItem(BSTR name, IXMLDOMNode** item) override;
  HRESULT WINAPI get_item(LONG index, IXMLDOMNode** item) override;
  HRESULT WINAPI get_length(LONG* length) override;
  HRESULT WINAPI getQualifiedItem(BSTR baseName, BSTR namespaceUri, IXMLDOMNode** item) override;
  HRESULT WINAPI removeQualifiedItem(BSTR baseName, BSTR namespaceUri, IXMLDOMNode** item) override;
  HRESULT WINAPI nextNode(IXMLDOMNode** item) override;
  HRESULT WINAPI reset() override;
  HRESULT WINAPI get__newEnum(IUnknown** enumerator) override;

 private:
  AttributeRecorder(IXMLDOMNamedNodeMap* inner, std::vector<std::wstring>* asked);
  virtual ~AttributeRecorder() = default;  // through Release only

  ScopedCom<IXMLDOMNamedNodeMap> inner_;
  std::vector<std::wstring>* asked_;
  LONG references_ = 1;
};
