// The content transform of log lines, and its inverse for the decoder.
//
// Printable ASCII characters (0x20 to 0x7E) are rotated within that range by the
// key byte of their position, so the body of a line is not plain to a casual
// reader. Every other character (line breaks, tabs, non-ASCII) is kept as it is:
// the transform never makes a line break or a character the file's UTF-8 text
// mode could not write, and it keeps the size, as the logger's frame needs. So a
// line stays one line (a message with a line break of its own spans two, which
// the decoder joins again), and the decoder restores the text exactly.
#pragma once

#include <cstddef>

// The key the Logger command sets.
extern const char kLogContentKey[];

// Transforms byteCount bytes of text (whole wide characters) into output, which
// has room for them. position is where text starts in the body, so that a body
// can be transformed in pieces; the key repeats every keyLength characters. An
// empty or null key leaves the text as it is.
void TransformLogText(const wchar_t* text, size_t byteCount, const char* key, size_t keyLength, wchar_t* output,
                      size_t position = 0);
// The inverse.
void RestoreLogText(const wchar_t* text, size_t byteCount, const char* key, size_t keyLength, wchar_t* output,
                    size_t position = 0);
