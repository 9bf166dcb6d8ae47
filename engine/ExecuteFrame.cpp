#include "engine/ExecuteFrame.h"

#include <cstdarg>

#include "engine/EngineTexts.h"
#include "engine/InstallCommand.h"
#include "engine/Log.h"
#include "engine/LogLibrary.h"

namespace {

thread_local const ExecuteFrame* t_current = nullptr;

}  // namespace

const ExecuteFrame* ExecuteFrame::Current() { return t_current; }

int32_t ExecuteFrame::Index() const { return command_.index; }

ExecuteFrame::ExecuteFrame(CInstallCommand& command, const FrameStyle& style)
    : command_(command), style_(style), outer_(t_current) {
  t_current = this;
  const unsigned flags = style_.flags;
  const bool beginFirst = (flags & kFrameSkipWhenBusy) != 0;
  if (beginFirst && !(flags & kFrameNoBeginLine)) Line(kLogLevelInfo, enginetext::kBegin, command_.index, style_.tag);
  entered_ = (flags & kFrameNoGuard) != 0 || TryEnterCriticalSection(&command_.lock);
  if (flags & kFrameEntersTwice) entered_ = TryEnterCriticalSection(&command_.lock);
  if (!entered_) return;
  if (!beginFirst && !(flags & kFrameNoBeginLine)) Line(kLogLevelInfo, enginetext::kBegin, command_.index, style_.tag);
}

ExecuteFrame::~ExecuteFrame() {
  t_current = outer_;
  if (entered_ && !finished_ && !(style_.flags & kFrameNoGuard)) LeaveCriticalSection(&command_.lock);
}

int32_t ExecuteFrame::Busy() {
  finished_ = true;
  if (style_.flags & kFrameSkipWhenBusy) {
    EndLine();
    return kStatusOk;
  }
  Line(kLogLevelError, enginetext::kBusy, command_.index, style_.busyTag != nullptr ? style_.busyTag : style_.tag);
  return kStatusBusy;
}

int32_t ExecuteFrame::Done(int32_t status) {
  if (!(style_.flags & kFrameNeverMarked)) command_.executed = true;
  EndLine();
  if (entered_ && !finished_ && !(style_.flags & kFrameNoGuard)) LeaveCriticalSection(&command_.lock);
  finished_ = true;
  return status;
}

int32_t ExecuteFrame::KeepLock(int32_t status) {
  finished_ = true;
  return status;
}

void ExecuteFrame::EndLine() {
  if (!(style_.flags & kFrameNoEndLine)) {
    Line(kLogLevelInfo, enginetext::kEnd, command_.index, style_.tag, command_.GetNextIndex());
  }
}

void ExecuteFrame::Line(int32_t level, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  if (style_.flags & kFrameMirrored) {
    MirrorLogV(style_.mirrorSite, style_.mirrorSiteWide, level, format, args);
  } else {
    LogMessageV(format, args);
  }
  va_end(args);
}
