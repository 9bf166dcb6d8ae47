// The HTML parser: lenient, as installer pages are written by hand.
//
// - Unknown tags are kept as elements; names are lower-cased.
// - Void elements (br, img, input, meta, link, hr, ...) and any tag written
//   with "/>" take no content.
// - p, li, option, dt, dd, tr, td and th end where the next one (or a block
//   that cannot sit inside them) starts; an end tag with no open element of its
//   name is ignored, and one that matches closes everything opened after it.
// - Attributes may lack quotes or values (then the value is empty); the first
//   of two attributes of one name wins.
// - Character references: common names, &#NN; and &#xHH;.
// - Comments, <!doctype> and <?...?> are skipped.
// - UTF-8 with or without BOM; UTF-16 LE with BOM.
// - The root is always <html>; elements meant for the head before any content
//   go into a <head>, everything else into a <body>, made when missing.
// - <style> texts and <link rel="stylesheet"> hrefs are collected in document
//   order, and <img src> values, for the loader and the style engine.
// - Nesting deeper than kMaxDepth continues flat, so that no later walk over
//   the tree can run out of stack on hostile input.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "standins/htmlayout/dom/Document.h"

namespace hl {

constexpr size_t kMaxDepth = 200;

// Decodes the bytes of a page to UTF-16 (BOM aware, invalid UTF-8 as U+FFFD).
std::wstring DecodePage(const unsigned char* bytes, size_t count);

// Builds a new document from the bytes of a page. Never fails: any input gives
// at least <html><body></body></html>... with head and body as described above.
std::unique_ptr<Document> ParseHtml(const unsigned char* bytes, size_t count);
std::unique_ptr<Document> ParseHtml(const std::wstring& text);

// True for the elements that never have content or an end tag.
bool IsVoidElement(const std::wstring& tag);
// True for elements whose content is raw text (no tags, no references).
bool IsRawTextElement(const std::wstring& tag);

}  // namespace hl
