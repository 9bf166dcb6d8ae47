// The pieces of a report line: a JSON object built field by field, texts made
// JSON strings, and the time stamp.
//
// Texts arrive as UTF-16 and are converted to UTF-8 with WideCharToMultiByte,
// never through a wide printf, so nothing depends on whose printf rules the C
// runtime follows. A lone surrogate becomes U+FFFD, as the conversion makes it.
#pragma once

#include <string>

// A JSON string of value, quoted and escaped; "null" for a null pointer.
std::string JsonString(const wchar_t* value);

// Now, in UTC, as the JSON string "2024-05-01T12:34:56.789Z".
std::string JsonTimeNow();

class JsonObject {
 public:
  JsonObject& Text(const char* key, const wchar_t* value);  // a null value gives null
  JsonObject& Number(const char* key, long long value);
  JsonObject& Null(const char* key);
  // A value that is JSON already: a nested object, a prepared string.
  JsonObject& Raw(const char* key, const std::string& json);
  JsonObject& Object(const char* key, const JsonObject& inner) { return Raw(key, inner.Json()); }
  std::string Json() const { return text_ + "}"; }

 private:
  void Key(const char* key);
  std::string text_ = "{";
};
