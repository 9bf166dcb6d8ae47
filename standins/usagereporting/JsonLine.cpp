#include "standins/usagereporting/JsonLine.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>

std::string JsonString(const wchar_t* value) {
  if (value == nullptr) return "null";
  std::string utf8;
  int length = static_cast<int>(wcslen(value));
  if (length > 0) {
    utf8.resize(WideCharToMultiByte(CP_UTF8, 0, value, length, nullptr, 0, nullptr, nullptr));
    WideCharToMultiByte(CP_UTF8, 0, value, length, &utf8[0], static_cast<int>(utf8.size()), nullptr, nullptr);
  }
  std::string json = "\"";
  json.reserve(utf8.size() + 2);
  // Every byte that needs escaping is ASCII, and no byte of a multi-byte UTF-8
  // sequence is, so the escaping can run over the bytes.
  for (char c : utf8) {
    switch (c) {
      case '"': json += "\\\""; break;
      case '\\': json += "\\\\"; break;
      case '\n': json += "\\n"; break;
      case '\r': json += "\\r"; break;
      case '\t': json += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char escaped[8];
          snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
          json += escaped;
        } else {
          json += c;
        }
    }
  }
  return json + "\"";
}

std::string JsonTimeNow() {
  SYSTEMTIME now;
  GetSystemTime(&now);
  char text[32];
  snprintf(text, sizeof text, "\"%04d-%02d-%02dT%02d:%02d:%02d.%03dZ\"", now.wYear, now.wMonth, now.wDay, now.wHour,
           now.wMinute, now.wSecond, now.wMilliseconds);
  return text;
}

void JsonObject::Key(const char* key) {
  if (text_.size() > 1) text_ += ',';
  text_ += '"';
  text_ += key;
  text_ += "\":";
}

JsonObject& JsonObject::Text(const char* key, const wchar_t* value) { return Raw(key, JsonString(value)); }

JsonObject& JsonObject::Number(const char* key, long long value) { return Raw(key, std::to_string(value)); }

JsonObject& JsonObject::Null(const char* key) { return Raw(key, "null"); }

JsonObject& JsonObject::Raw(const char* key, const std::string& json) {
  Key(key);
  text_ += json;
  return *this;
}
