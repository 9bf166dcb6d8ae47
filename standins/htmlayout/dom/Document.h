// A page: its element tree, the style sheets and images it names, and the
// bytes loaded for them.
//
// The document owns the elements of its tree. Elements leave it by detaching
// (they are then freed at once unless someone holds them) and when the document
// is destroyed (held ones live on, detached). Every change goes through the
// functions below, under the document's lock (see Lock.h), so that the tree's
// pointers, lock domains and change flags stay consistent.
#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

#include "standins/htmlayout/dom/Element.h"
#include "standins/htmlayout/dom/Lock.h"

namespace hl {

// A style sheet of the page, in document order: the text of a <style>, or the
// href of a <link rel="stylesheet"> and, once loaded, its text.
struct StyleSource {
  std::wstring text;   // the sheet (inline, or loaded and decoded from UTF-8)
  std::wstring href;   // empty for inline sheets
  std::wstring url;    // href resolved against the base URL
  std::wstring media;  // the media attribute, as written
  uint32_t element = 0;  // uid of the <style> or <link>
  bool loaded = false; // inline sheets count as loaded
};

// An <img src> of the page, in document order.
struct ImageSource {
  std::wstring src;
  std::wstring url;
  uint32_t element = 0;  // uid of the <img>
  bool loaded = false;  // its bytes are in Document::resources[url]
};

class Document {
 public:
  Document();
  ~Document();  // takes its own lock: no caller may hold it
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  DomainLock* const lock;
  Element* root = nullptr;  // always an <html> element once parsed
  HWND hwnd = nullptr;      // the window that shows it, if any
  std::wstring baseUrl;
  std::vector<StyleSource> styles;
  std::vector<ImageSource> images;
  std::map<std::wstring, std::string> resources;  // url -> bytes, style sheets and images
  bool needsRestyle = true;
  bool needsLayout = true;

  // Makes root the document's root and the whole tree part of the document.
  void SetRoot(Element* newRoot);
};

// The tree operations. Callers hold the domains of the elements involved.

// A new detached element; tag lower case.
Element* NewElement(const std::wstring& tag);
// Appends text, merged with a text node before it.
void AppendText(Element* parent, const std::wstring& text);
// Inserts child (detached) among parent's element children at elementIndex;
// past the end appends. The child joins the parent's document.
void InsertChild(Element* parent, Element* child, size_t elementIndex);
// Takes element out of its parent and document; frees it when nobody holds it.
void Detach(Element* element);
// Frees a detached element that nobody holds (children that are held survive,
// detached); does nothing otherwise.
void ReleaseIfUnowned(Element* element);
// Removes every child and sets the element's content to text.
void SetText(Element* element, const std::wstring& text);
// Every text of the element and its descendants, in order.
std::wstring InnerText(const Element* element);

// The element's children that are elements.
std::vector<Element*> ChildElements(const Element* element);
// The position among the parent's element children, 0 without a parent.
size_t ElementIndex(const Element* element);
// The element of that uid in the tree under root, or null.
Element* FindByUid(Element* root, uint32_t uid);

// Notes that the element needs a new style (and layout) and asks the window to
// repaint. Never sends a message.
void MarkChanged(Element* element, bool layout);

}  // namespace hl
