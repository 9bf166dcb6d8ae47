#include "host/MultiStrings.h"

#include <new>

CMultiStringList::CMultiStringList() { InitializeCriticalSection(&lock_); }

CMultiStringList::~CMultiStringList() { DeleteCriticalSection(&lock_); }

// GetItem hands out the list's own text, which stays valid until that item is
// changed or removed. Readers copy what they keep.
const wchar_t* CMultiStringList::GetItem(int32_t index) {
  EnterCriticalSection(&lock_);
  const wchar_t* text = InRange(index) ? items_[index].c_str() : nullptr;
  LeaveCriticalSection(&lock_);
  return text;
}

void CMultiStringList::AddString(const wchar_t* text) {
  EnterCriticalSection(&lock_);
  items_.emplace_back(text != nullptr ? text : L"");
  LeaveCriticalSection(&lock_);
}

void CMultiStringList::SetItem(int32_t index, const wchar_t* text) {
  EnterCriticalSection(&lock_);
  if (InRange(index)) items_[index] = text != nullptr ? text : L"";
  LeaveCriticalSection(&lock_);
}

void CMultiStringList::RemoveItem(int32_t index) {
  EnterCriticalSection(&lock_);
  if (InRange(index)) items_.erase(items_.begin() + index);
  LeaveCriticalSection(&lock_);
}

void CMultiStringList::Clear() {
  EnterCriticalSection(&lock_);
  items_.clear();
  LeaveCriticalSection(&lock_);
}

int32_t CMultiStringList::IndexOf(const wchar_t* text) {
  int32_t found = -1;
  EnterCriticalSection(&lock_);
  for (size_t i = 0; text != nullptr && i < items_.size(); ++i) {
    if (items_[i] == text) {
      found = static_cast<int32_t>(i);
      break;
    }
  }
  LeaveCriticalSection(&lock_);
  return found;
}

int32_t CMultiStringList::GetCount() {
  EnterCriticalSection(&lock_);
  int32_t count = static_cast<int32_t>(items_.size());
  LeaveCriticalSection(&lock_);
  return count;
}

int32_t CMultiStringList::GetLength() {
  EnterCriticalSection(&lock_);
  size_t length = 1;  // the list's closing terminator
  for (const std::wstring& item : items_) length += item.size() + 1;
  LeaveCriticalSection(&lock_);
  return static_cast<int32_t>(length);
}

// The flat form is built on each call and stays valid until ReleaseBuffer or the
// next GetBuffer of the same list.
wchar_t* CMultiStringList::GetBuffer() {
  EnterCriticalSection(&lock_);
  flat_.clear();
  for (const std::wstring& item : items_) {
    flat_.insert(flat_.end(), item.begin(), item.end());
    flat_.push_back(L'\0');
  }
  flat_.push_back(L'\0');
  wchar_t* buffer = flat_.data();
  LeaveCriticalSection(&lock_);
  return buffer;
}

void CMultiStringList::ReleaseBuffer() {
  EnterCriticalSection(&lock_);
  flat_.clear();
  flat_.shrink_to_fit();
  LeaveCriticalSection(&lock_);
}

MultiStringList* CMultiStringApi::CreateList() { return new (std::nothrow) CMultiStringList(); }
