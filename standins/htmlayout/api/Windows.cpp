#include "standins/htmlayout/api/Windows.h"

namespace hl {

SRWLOCK WindowRecords::lock_ = SRWLOCK_INIT;

namespace {
// Never destroyed: a host thread may still call in while the process ends.
std::map<HWND, std::shared_ptr<WindowRecord>>& Records() {
  static auto* records = new std::map<HWND, std::shared_ptr<WindowRecord>>();
  return *records;
}
}  // namespace

std::shared_ptr<WindowRecord> WindowRecords::Find(HWND hwnd) {
  AcquireSRWLockShared(&lock_);
  auto found = Records().find(hwnd);
  std::shared_ptr<WindowRecord> record = found == Records().end() ? nullptr : found->second;
  ReleaseSRWLockShared(&lock_);
  return record;
}

std::shared_ptr<WindowRecord> WindowRecords::FindOrAdd(HWND hwnd) {
  AcquireSRWLockExclusive(&lock_);
  auto& record = Records()[hwnd];
  if (!record) {
    record = std::make_shared<WindowRecord>();
    record->hwnd = hwnd;
  }
  std::shared_ptr<WindowRecord> result = record;
  ReleaseSRWLockExclusive(&lock_);
  return result;
}

void WindowRecords::Forget(HWND hwnd) {
  std::shared_ptr<WindowRecord> record;
  std::shared_ptr<Document> document;
  AcquireSRWLockExclusive(&lock_);
  auto found = Records().find(hwnd);
  if (found != Records().end()) {
    record = found->second;
    document.swap(record->document);
    Records().erase(found);
  }
  ReleaseSRWLockExclusive(&lock_);
  // The document goes (and takes its own lock) after the records' lock is left.
}

std::shared_ptr<Document> WindowRecords::DocumentOf(HWND hwnd) {
  std::shared_ptr<Document> document;
  AcquireSRWLockShared(&lock_);
  auto found = Records().find(hwnd);
  if (found != Records().end()) document = found->second->document;
  ReleaseSRWLockShared(&lock_);
  return document;
}

std::map<UINT, UINT>& WindowRecords::GlobalOptions() {
  static auto* options = new std::map<UINT, UINT>();
  return *options;
}

LRESULT WindowRecords::Notify(HWND hwnd, NMHDR& header) {
  LPHTMLAYOUT_NOTIFY callback = nullptr;
  LPVOID callbackParam = nullptr;
  if (std::shared_ptr<WindowRecord> record = Find(hwnd)) {
    Read(*record, [&](const WindowRecord& r) {
      callback = r.callback;
      callbackParam = r.callbackParam;
    });
  }
  header.hwndFrom = hwnd;
  header.idFrom = static_cast<UINT_PTR>(GetDlgCtrlID(hwnd));
  if (callback) return callback(WM_NOTIFY, header.idFrom, reinterpret_cast<LPARAM>(&header), callbackParam);
  if (HWND parent = GetParent(hwnd)) {
    return SendMessageW(parent, WM_NOTIFY, header.idFrom, reinterpret_cast<LPARAM>(&header));
  }
  return 0;
}

}  // namespace hl
