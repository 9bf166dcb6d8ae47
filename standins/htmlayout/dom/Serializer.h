// Writes an element back as HTML (UTF-8), as HTMLayoutGetElementHtmlCB gives it.
//
// Attributes in source order, values in double quotes; text escaped (&amp; &lt;
// &gt;, and &quot; in values); raw-text elements (style, script) as they are;
// void elements without an end tag. Parsing the output again gives the same tree.
#pragma once

#include <string>

#include "standins/htmlayout/dom/Element.h"

namespace hl {

std::string SerializeHtml(const Element* element, bool outer);

// UTF-16 to UTF-8 (unpaired surrogates become U+FFFD).
std::string ToUtf8(const std::wstring& text);
// UTF-8 to UTF-16.
std::wstring FromUtf8(const std::string& text);

}  // namespace hl
