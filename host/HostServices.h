// Objects the engine publishes for the plug-in: the attribute decrypter and the
// trace logger, plus the engine's own log call.
#pragma once

#include <windows.h>

#include <cstdint>
#include <deque>
#include <map>
#include <string>

#include "engine/interfaces/HostInterfaces.h"
#include "engine/Log.h"
#include "engine/ScopedHandle.h"
#include "engine/interfaces/MessageBoxProvider.h"

// The reference engine's scripts are plain text, so Decrypt gives the text back.
// Each result is a copy that the decrypter keeps until it is freed, because a
// caller may change it in place (WaitForHandle upper-cases its waitAmount).
class CPlainDecrypter : public IDecrypter {
 public:
  CPlainDecrypter();
  ~CPlainDecrypter();
  wchar_t* Decrypt(const wchar_t* text) override;

  SELFFREE_DESTRUCTOR(CPlainDecrypter)

 private:
  CRITICAL_SECTION lock_;
  std::deque<std::wstring> results_;
};

// The engine's own logger, in the store for the whole run. It counts the
// commands each forked chain runs (from the chain's own line, which names the
// thread), for the result file, and with print writes every line to standard
// error as UTF-8, one whole line at a time, so a script author can watch a run.
class CTraceLogger : public ILoggerApi {
 public:
  explicit CTraceLogger(bool print);
  ~CTraceLogger();
  void Log(const wchar_t* format, va_list args) override;
  void StartThreadLog(const wchar_t* description, bool isMain) override;
  void SetLogKey(const char* key) override;

  // Commands run so far, by the chain's threadId.
  std::map<int32_t, uint32_t> ChainCommands();

  SELFFREE_DESTRUCTOR(CTraceLogger)

 private:
  CRITICAL_SECTION lock_;
  bool print_;
  std::map<int32_t, uint32_t> chainCommands_;
};

// Forwards every line to the trace and to the logger a script published, so
// that /trace keeps showing plain text after the Logger command has run. It owns
// the script's logger: freeing it frees that logger, which then merges its files.
class CTeeLogger : public ILoggerApi {
 public:
  CTeeLogger(ILoggerApi* trace, ILoggerApi* inner) : trace_(trace), inner_(inner) {}
  void Log(const wchar_t* format, va_list args) override;
  void StartThreadLog(const wchar_t* description, bool isMain) override;
  void SetLogKey(const char* key) override;

  SELFFREE_DESTRUCTOR(CTeeLogger)

 private:
  ILoggerApi* trace_;  // the engine's, released with the engine's own objects
  ScopedSelfFree<ILoggerApi> inner_;
};

// The message box provider of runs without a desktop: the message goes to
// standard error and the log, and the preset answer comes back at once.
class CAutoAnswerMessageBox : public IMessageBoxProvider {
 public:
  explicit CAutoAnswerMessageBox(uint32_t answer) : answer_(answer) {}
  uint32_t ShowMessage(const wchar_t* text, const wchar_t* title, uint32_t buttons, uint32_t icon, uintptr_t owner,
                       uintptr_t reserved) override;
  void SetDefaultParent(uintptr_t window) override;

  SELFFREE_DESTRUCTOR(CAutoAnswerMessageBox)

 private:
  uint32_t answer_;
};

// UTF-8 and back: what the engine prints and writes, and the script it carries.
std::string Utf8(const std::wstring& text);
std::wstring FromUtf8(const char* bytes, size_t size);

// The engine's own lines (its walk) go to the logger in the store, like the
// plug-in's.
void HostLog(const wchar_t* format, ...);
