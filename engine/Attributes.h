// Reading a command's XML attributes, the one pattern every Load follows.
//
// Each read looks the attribute up by name, takes its text, and passes it through
// the engine's decrypter. A non-zero status means the attribute could not be read:
// S_FALSE (1) when it is absent, or the failure of get_text. Optional attributes
// skip on it, required ones end Load with it, so a missing required attribute makes
// Load return 1.
//
// The reader takes over the caller's counted reference on the map and releases
// it, the last node and every system string when it goes out of scope.
#pragma once

#include <windows.h>
#include <msxml2.h>

#include <cstdint>
#include <vector>

#include "engine/interfaces/HostInterfaces.h"
#include "engine/ScopedHandle.h"

class AttributeReader {
 public:
  explicit AttributeReader(IXMLDOMNamedNodeMap* attributes);
  AttributeReader(const AttributeReader&) = delete;
  AttributeReader& operator=(const AttributeReader&) = delete;

  // The decrypted text, which stays valid until the reader is gone and may be
  // changed in place. Raises ComError(E_POINTER) when the map or the node is null.
  HRESULT ReadText(const wchar_t* name, wchar_t** text);
  // True when the last ReadText failed because the attribute is absent, false when
  // it was there and get_text failed.
  bool LastWasAbsent() const { return lastAbsent_; }

  // A number: the text through wcstol with base 0, so 0x hexadecimal and
  // leading-zero octal are accepted and text that is no number reads as 0.
  HRESULT ReadNumber(const wchar_t* name, int32_t* value);
  // A wait in milliseconds: upper-cased in place first, so "infinite" in any
  // case gives -1 (no limit); anything else is decimal only through _wtoi, so
  // "0x10" reads as 0, that is, no wait.
  HRESULT ReadWaitAmount(const wchar_t* name, int32_t* value);
  // A private copy of the text, replacing what copy held.
  HRESULT ReadCopy(const wchar_t* name, ScopedText& copy);

 private:
  // Destroyed from the last up: the strings, the node, then the map.
  ScopedCom<IXMLDOMNamedNodeMap> attributes_;
  ScopedCom<IXMLDOMNode> node_;
  IDecrypter* decrypter_;
  std::vector<ScopedBstr> strings_;
  bool lastAbsent_ = false;
};
