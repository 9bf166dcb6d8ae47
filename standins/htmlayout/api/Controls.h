// The library's own controls: what a page's markup becomes when loaded, and
// the values of HTMLayoutControlGetValue and HTMLayoutControlSetValue.
//
// A dropdown <select> is rebuilt at load into three children, as the
// published library builds it and hosts rely on: a <caption> showing the
// current option, a <button> with the arrow, and a <popup> holding the
// options (index 2). The popup opens over the page on a click. When the user
// picks an option it becomes the current one (STATE_CURRENT and
// STATE_CHECKED), and the caption takes its text and its attributes but "id" and "selected"
// (so the caption, the select's first child, carries the picked option's
// "value" or any attribute of the host's, such as a language code).
//
// A checkbox keeps its state in STATE_CHECKED (from "checked" at load); a
// text field keeps its value as its text content.
#pragma once

#include "standins/htmlayout/dom/Document.h"

namespace hl::events {

// Prepares the controls of a freshly parsed document (not shown yet: no lock).
void BuildControls(Document& document);

// Makes option the select's current one and shows it in the caption; false
// when the select or its option list is disabled ("disabled" attribute, also
// empty, or the state bit), which blocks picks. Takes the locks itself.
bool PickOption(Element* select, Element* option);

}  // namespace hl::events
