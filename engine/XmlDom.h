// MSXML 3.0 for the files of the language folder (XLIFF texts and language
// files): the document class and the COM initialisation around one file's load.
// COM references and system strings are held in the kit's ScopedCom and
// ScopedBstr.
#pragma once

#include <msxml2.h>
#include <windows.h>

#include "engine/ScopedHandle.h"

// mingw declares these but does not define them.
extern const CLSID kClsidDomDocument30;
extern const IID kIidXmlDomDocument;

// CoInitialize for the span of one file's load, balanced: CoUninitialize only
// follows a CoInitialize that succeeded (a thread already in the multi-threaded
// apartment gets RPC_E_CHANGED_MODE, and must not be uninitialised by us).
class ComScope {
 public:
  ComScope() : hr_(CoInitialize(nullptr)) {}
  ~ComScope() {
    if (SUCCEEDED(hr_)) CoUninitialize();
  }
  ComScope(const ComScope&) = delete;
  ComScope& operator=(const ComScope&) = delete;

 private:
  HRESULT hr_;
};

// A new MSXML 3.0 document, created in process; null when COM cannot make one.
IXMLDOMDocument* CreateDocument30();

// Loads the file at path, with the document's properties as they are. True only
// when load succeeded and answered true. Raises ComError(E_OUTOFMEMORY) when the
// path's variant cannot be built.
bool LoadDocument(IXMLDOMDocument* document, const wchar_t* path);

// What MSXML tells of a document that failed to load: its reason (none when it
// gives none), line and position (0 when unknown).
struct ParseError {
  ScopedBstr reason;
  long line = 0;
  long column = 0;
};
ParseError ReadParseError(IXMLDOMDocument* document);

// True for a comment node; the language files may hold comments anywhere.
bool IsComment(IXMLDOMNode* node);
