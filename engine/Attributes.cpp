#include "engine/Attributes.h"

#include <cstdlib>
#include <cwchar>

#include "engine/Store.h"

AttributeReader::AttributeReader(IXMLDOMNamedNodeMap* attributes)
    : attributes_(attributes), decrypter_(StoreGetObject<IDecrypter>("SelfFree_Decrypter")) {}

HRESULT AttributeReader::ReadText(const wchar_t* name, wchar_t** text) {
  if (!attributes_) throw ComError{E_POINTER};
  node_.Reset();
  HRESULT hr;
  {
    // A name that cannot be made goes to the map as null, as it always has.
    ScopedBstr attributeName(SysAllocString(name));
    hr = attributes_.Get()->getNamedItem(attributeName.Get(), node_.Receive());
  }
  if (hr != S_OK) {
    lastAbsent_ = true;
    return hr;
  }
  lastAbsent_ = false;
  if (!node_) throw ComError{E_POINTER};
  ScopedBstr value;
  hr = node_.Get()->get_text(value.Receive());
  if (hr != S_OK) return hr;
  BSTR raw = value.Get();
  strings_.push_back(std::move(value));
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

HRESULT AttributeReader::ReadWaitAmount(const wchar_t* name, int32_t* value) {
  wchar_t* text = nullptr;
  HRESULT hr = ReadText(name, &text);
  if (hr != S_OK) return hr;
  _wcsupr_s(text, wcslen(text) + 1);
  *value = wcscmp(text, L"INFINITE") == 0 ? -1 : _wtoi(text);
  return S_OK;
}

HRESULT AttributeReader::ReadCopy(const wchar_t* name, ScopedText& copy) {
  wchar_t* text = nullptr;
  HRESULT hr = ReadText(name, &text);
  if (hr == S_OK) copy = CopyText(text);
  return hr;
}
