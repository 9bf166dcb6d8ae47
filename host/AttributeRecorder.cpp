#include "host/AttributeRecorder.h"

AttributeRecorder* AttributeRecorder::Create(IXMLDOMNamedNodeMap* inner, std::vector<std::wstring>* asked) {
  return new AttributeRecorder(inner, asked);
}

AttributeRecorder::AttributeRecorder(IXMLDOMNamedNodeMap* inner, std::vector<std::wstring>* asked) : asked_(asked) {
  if (inner != nullptr) inner->AddRef();
  inner_.Reset(inner);
}

HRESULT AttributeRecorder::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  if (iid == IID_IUnknown || iid == IID_IDispatch || iid == IID_IXMLDOMNamedNodeMap) {
    *object = static_cast<IXMLDOMNamedNodeMap*>(this);
    AddRef();
    return S_OK;
  }
  *object = nullptr;
  return E_NOINTERFACE;
}

ULONG AttributeRecorder::AddRef() { return static_cast<ULONG>(InterlockedIncrement(&references_)); }

ULONG AttributeRecorder::Release() {
  LONG left = InterlockedDecrement(&references_);
  if (left == 0) delete this;
  return static_cast<ULONG>(left);
}

HRESULT AttributeRecorder::getNamedItem(BSTR name, IXMLDOMNode** item) {
  asked_->push_back(name != nullptr ? name : L"");
  return inner_.Get()->getNamedItem(name, item);
}

// The rest passes through unchanged.
HRESULT AttributeRecorder::GetTypeInfoCount(UINT* count) { return inner_.Get()->GetTypeInfoCount(count); }
HRESULT AttributeRecorder::GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) {
  return inner_.Get()->GetTypeInfo(index, locale, info);
}
HRESULT AttributeRecorder::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) {
  return inner_.Get()->GetIDsOfNames(iid, names, count, locale, ids);
}
HRESULT AttributeRecorder::Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                                  EXCEPINFO* exception, UINT* argumentError) {
  return inner_.Get()->Invoke(id, iid, locale, flags, params, result, exception, argumentError);
}
HRESULT AttributeRecorder::setNamedItem(IXMLDOMNode* newItem, IXMLDOMNode** item) {
  return inner_.Get()->setNamedItem(newItem, item);
}
HRESULT AttributeRecorder::removeNamedItem(BSTR name, IXMLDOMNode** item) {
  return inner_.Get()->removeNamedItem(name, item);
}
HRESULT AttributeRecorder::get_item(LONG index, IXMLDOMNode** item) { return inner_.Get()->get_item(index, item); }
HRESULT AttributeRecorder::get_length(LONG* length) { return inner_.Get()->get_length(length); }
HRESULT AttributeRecorder::getQualifiedItem(BSTR baseName, BSTR namespaceUri, IXMLDOMNode** item) {
  return inner_.Get()->getQualifiedItem(baseName, namespaceUri, item);
}
HRESULT AttributeRecorder::removeQualifiedItem(BSTR baseName, BSTR namespaceUri, IXMLDOMNode** item) {
  return inner_.Get()->removeQualifiedItem(baseName, namespaceUri, item);
}
HRESULT AttributeRecorder::nextNode(IXMLDOMNode** item) { return inner_.Get()->nextNode(item); }
HRESULT AttributeRecorder::reset() { return inner_.Get()->reset(); }
HRESULT AttributeRecorder::get__newEnum(IUnknown** enumerator) { return inner_.Get()->get__newEnum(enumerator); }
