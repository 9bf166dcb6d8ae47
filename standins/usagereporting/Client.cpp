#include "standins/usagereporting/Client.h"

#include <climits>
#include <utility>

#include "standins/usagereporting/UsageReporting.h"

namespace {

class ExclusiveLock {
 public:
  explicit ExclusiveLock(SRWLOCK* lock) : lock_(lock) { AcquireSRWLockExclusive(lock_); }
  ~ExclusiveLock() { ReleaseSRWLockExclusive(lock_); }
  ExclusiveLock(const ExclusiveLock&) = delete;
  ExclusiveLock& operator=(const ExclusiveLock&) = delete;

 private:
  SRWLOCK* lock_;
};

}  // namespace

Client::Client(ScopedFile file, const wchar_t* productName, const wchar_t* salesChannel, const FaultMode& faults)
    : file_(std::move(file)), product_(JsonString(productName)), channel_(JsonString(salesChannel)), faults_(faults) {
  LARGE_INTEGER frequency;
  QueryPerformanceFrequency(&frequency);
  counterFrequency_ = frequency.QuadPart;
}

long long Client::Counter() const {
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  return now.QuadPart;
}

JsonObject Client::Head(const char* call) const {
  // The time is taken under the lock, so the lines of a file are in time order.
  JsonObject line;
  line.Raw("time", JsonTimeNow()).Raw("product", product_).Raw("channel", channel_);
  line.Raw("call", std::string("\"") + call + "\"");
  return line;
}

int32_t Client::Write(JsonObject* line, int32_t status) {
  line->Number("status", status);
  std::string text = line->Json() + "\n";
  // One write per line: with append access the system puts it at the end of
  // the file whole, whatever other writers do.
  DWORD written = 0;
  if (!WriteFile(file_.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr)) {
    return static_cast<int32_t>(GetLastError());
  }
  return written == text.size() ? status : static_cast<int32_t>(ERROR_WRITE_FAULT);
}

int32_t Client::Log(const char* call, const JsonObject& args, int32_t status) {
  ExclusiveLock lock(&lock_);
  JsonObject line = Head(call);
  line.Object("args", args);
  return Write(&line, status);
}

int32_t Client::Begin(const wchar_t* name, int* handle) {
  ExclusiveLock lock(&lock_);
  JsonObject line = Head("BeginReport");
  int32_t status = kOk;
  int given = 0;
  if (name == nullptr || handle == nullptr) {
    status = kMissingArgument;
  } else if (faults_.fixedHandle) {
    given = faults_.beginHandle;
  } else if (issued_ == INT_MAX) {
    status = kHandlesUsedUp;  // never reuse a handle: an old one may still be ended
  } else {
    given = ++issued_;
    running_[given] = Counter();
  }
  JsonObject args;
  args.Text("name", name);
  if (status == kOk) {
    args.Number("handle", given);
  } else {
    args.Null("handle");
  }
  line.Object("args", args);
  status = Write(&line, status);
  if (status != kOk) {
    if (!faults_.fixedHandle) running_.erase(given);
    given = 0;
  }
  if (handle != nullptr) *handle = given;
  return status;
}

int32_t Client::End(const wchar_t* name, int handle) {
  ExclusiveLock lock(&lock_);
  long long now = Counter();
  JsonObject line = Head("EndReport");
  line.Object("args", JsonObject().Text("name", name).Number("handle", handle));
  // A refused call ends nothing.
  auto found = name != nullptr ? running_.find(handle) : running_.end();
  if (found == running_.end()) {
    line.Null("durationMs");
    return Write(&line, name != nullptr ? kUnknownHandle : kMissingArgument);
  }
  line.Number("durationMs", (now - found->second) * 1000 / counterFrequency_);
  running_.erase(found);
  return Write(&line, kOk);
}
