// A scan of a script's text of the engine's own, for positions: MSXML under Wine
// tells neither where an element stands nor where a file stops being XML (its
// parse errors read "error", line 0). The scan finds every element's start tag,
// in document order, and the first place where the text breaks the rules of
// well-formed XML, each with a line and column from 1 (columns count UTF-16
// units, a tab as one).
//
// It is no parser for the engine to run on: MSXML stays the judge of what a
// script says. The scan only has to agree with it on which elements there are,
// and to name the first fault of a file MSXML refuses.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct TextPosition {
  long line = 0;  // 0: unknown
  long column = 0;
};

struct ScannedElement {
  std::wstring name;
  TextPosition at;  // the '<' of its start tag
  int parent = -1;  // index into the scan's elements, -1 for the root
  int depth = 1;    // the root is 1
};

struct XmlScan {
  std::vector<ScannedElement> elements;  // document order
  bool wellFormed = false;
  TextPosition faultAt;  // the first fault, when not well-formed
  std::wstring fault;    // a plain sentence
  int deepest = -1;      // the element that nests deepest, -1 when none

  // The indexes of parent's child elements, in document order (-1: the root).
  std::vector<int> Children(int parent) const;
};

XmlScan ScanXml(const std::wstring& text);

// Reads a script file as text: UTF-8 or UTF-16 by its byte order mark, UTF-8
// without one. False, with what kind of file it is instead (a folder, empty,
// UTF-16 without a byte order mark, not text), when it cannot be read as a
// script's text.
bool ReadScriptFile(const std::wstring& path, std::wstring* text, std::wstring* whatItIs);

// "line 3, column 12"
std::wstring PositionText(const TextPosition& at);
