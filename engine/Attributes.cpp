#include "engine/Attributes.h"

#include <cstdlib>
#include <cwchar>

#include "engine/Store.h"

AttributeReader::AttributeReader(IXMLDOMNamedNodeMap* attributes)
    : attributes_(attributes), decrypter_(StoreGetObject<IDecrypter>("SelfFree_Decrypter")) {}

AttributeReader::~AttributeReader() {
  if (node_ != nullptr) node_->Release();
  for (BSTR text : strings_) SysFreeString(text);
  if (attributes_ != nullptr) attributes_->Release();
}

HRESULT AttributeReader::ReadText(const wchar_t* name, wchar_t** text) {
  if (attributes_ == nullptr) throw ComError{E_POINTER};
  if (node_ != nullptr) {
    node_->Release();
    node_ = nullptr;
  }
  BSTR attributeName = SysAllocString(name);
  HRESULT hr = attributes_->getNamedItem(attributeName, &node_);
  SysFreeString(attributeName);
  if (hr != S_OK) {
    lastAbsent_ = true;
    return hr;
  }
  lastAbsent_ = false;
  if (node_ == nullptr) throw ComError{E_POINTER};
  BSTR raw = nullptr;
  hr = node_->get_text(&raw);
  if (hr != S_OK) return hr;
  strings_.push_back(raw);
  // Without a decrypter in the store the attribute is taken as it stands; the
  // system string is ours until the reader goes, so it can be changed in place.
  wchar_t* plain = decrypter_ != nullptr ? decrypter_->Decrypt(raw) : raw;
  *text = plain != nullptr ? plain : raw;
  return S_OK;
}

HRESULT AttributeReader::ReadNumber(const wchar_t* name, int32_t* value) {
  wchar_t* text = nullptr;
  HRESULT hr = ReadText(name, &text);
  if (hr == S_OK) *value = static_cast<int32_t>(wcstol(text, nullptr, 0));
  return hr;
}

HRESULT AttributeReader::ReadCopy(const wchar_t* name, ScopedText& copy) {
  wchar_t* text = nullptr;
  HRESULT hr = ReadText(name, &text);
  if (hr == S_OK) copy = CopyText(text);
  return hr;
}
