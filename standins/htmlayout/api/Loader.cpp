// Loading a page into a window: parse, ask the host for each resource through
// HLN_LOAD_DATA (or load it from the base URL's folder), then show the new
// document in place of the old one.
//
// The new document is private to this thread until it is shown, so the
// notification callback runs with no lock held: it may call HTMLayoutDataReady
// and any element function on the handle it gets in `principal`.
#include <windows.h>

#include <memory>
#include <string>

#include "standins/htmlayout/api/Controls.h"
#include "standins/htmlayout/dom/Url.h"
#include "standins/htmlayout/api/Windows.h"
#include "standins/htmlayout/dom/Parser.h"
#include "standins/htmlayout/dom/Serializer.h"
#include "standins/htmlayout/include/htmlayout.h"

namespace hl {

namespace {

// Asks the host for one resource; false when it is to be skipped or cannot be
// found.
bool LoadResource(WindowRecord& record, const std::wstring& url, UINT dataType, Element* principal,
                  std::string& bytes) {
  NMHL_LOAD_DATA request{};
  request.hdr.code = HLN_LOAD_DATA;
  request.uri = url.c_str();
  request.dataType = dataType;
  request.principal = reinterpret_cast<HELEMENT>(principal);

  PendingLoad pending;
  pending.uri = url;
  pending.thread = GetCurrentThreadId();
  PendingLoad* outer = nullptr;  // a load started from inside another's callback
  WindowRecords::Change(record, [&](WindowRecord& r) {
    outer = r.pending;
    r.pending = &pending;
  });
  LRESULT answer = WindowRecords::Notify(record.hwnd, request.hdr);
  WindowRecords::Change(record, [&](WindowRecord& r) { r.pending = outer; });

  if (answer == LOAD_DISCARD) return false;
  if (pending.delivered) {
    bytes.swap(pending.data);
    return true;
  }
  if (request.outData && request.outDataSize) {
    bytes.assign(static_cast<const char*>(request.outData), request.outDataSize);
    return true;
  }
  return ReadLocalFile(url, bytes);
}

void LoadResources(WindowRecord& record, Document& document) {
  for (size_t i = 0; i < document.styles.size(); ++i) {
    std::wstring url;
    uint32_t uid;
    {
      DomainGuard guard(document.lock);
      if (document.styles[i].href.empty()) continue;
      url = JoinUrl(document.baseUrl, document.styles[i].href);
      document.styles[i].url = url;
      uid = document.styles[i].element;
    }
    std::string bytes;
    if (!LoadResource(record, url, HLRT_DATA_STYLE, FindByUid(document.root, uid), bytes)) continue;
    DomainGuard guard(document.lock);
    document.styles[i].text = DecodePage(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    document.styles[i].loaded = true;
    document.resources[url] = std::move(bytes);
  }
  for (size_t i = 0; i < document.images.size(); ++i) {
    std::wstring url;
    uint32_t uid;
    {
      DomainGuard guard(document.lock);
      url = JoinUrl(document.baseUrl, document.images[i].src);
      document.images[i].url = url;
      uid = document.images[i].element;
      auto known = document.resources.find(url);
      if (known != document.resources.end()) {  // the same picture twice
        document.images[i].loaded = true;
        continue;
      }
    }
    std::string bytes;
    if (!LoadResource(record, url, HLRT_DATA_IMAGE, FindByUid(document.root, uid), bytes)) continue;
    DomainGuard guard(document.lock);
    document.images[i].loaded = true;
    document.resources[url] = std::move(bytes);
  }
}

}  // namespace

}  // namespace hl

using namespace hl;

extern "C" BOOL HLAPI HTMLayoutLoadHtmlEx(HWND hWndHTMLayout, LPCBYTE html, UINT htmlSize, LPCWSTR baseUrl) {
  if (!IsWindow(hWndHTMLayout) || (!html && htmlSize)) return FALSE;
  std::shared_ptr<WindowRecord> record = WindowRecords::FindOrAdd(hWndHTMLayout);
  std::shared_ptr<Document> document(ParseHtml(html, htmlSize));
  document->hwnd = hWndHTMLayout;
  document->baseUrl = baseUrl ? baseUrl : L"";
  events::BuildControls(*document);
  LoadResources(*record, *document);

  std::shared_ptr<Document> old;
  WindowRecords::Change(*record, [&](WindowRecord& r) {
    old.swap(r.document);
    r.document = document;
  });
  old.reset();  // after the records' lock: it takes the old document's lock
  InvalidateRect(hWndHTMLayout, nullptr, TRUE);
  return TRUE;
}

extern "C" BOOL HLAPI HTMLayoutLoadHtml(HWND hWndHTMLayout, LPCBYTE html, UINT htmlSize) {
  return HTMLayoutLoadHtmlEx(hWndHTMLayout, html, htmlSize, nullptr);
}

extern "C" BOOL HLAPI HTMLayoutDataReady(HWND hwnd, LPCWSTR uri, LPBYTE data, DWORD dataLength) {
  if (!uri || (!data && dataLength)) return FALSE;
  std::shared_ptr<WindowRecord> record = WindowRecords::Find(hwnd);
  if (!record) return FALSE;
  bool taken = false;
  WindowRecords::Change(*record, [&](WindowRecord& r) {
    PendingLoad* pending = r.pending;
    if (pending && pending->thread == GetCurrentThreadId() && SameUrl(pending->uri, uri)) {
      pending->data.assign(reinterpret_cast<const char*>(data), dataLength);
      pending->delivered = true;
      taken = true;
    }
  });
  if (taken) return TRUE;

  // Late data for a resource of the page shown now.
  std::shared_ptr<Document> document = WindowRecords::DocumentOf(hwnd);
  if (!document) return FALSE;
  DomainGuard guard(document->lock);
  std::string bytes(reinterpret_cast<const char*>(data), dataLength);
  for (auto& style : document->styles) {
    if (style.href.empty() || !SameUrl(style.url, uri)) continue;
    style.text = DecodePage(data, dataLength);
    style.loaded = true;
    document->resources[style.url] = bytes;
    taken = true;
  }
  for (auto& image : document->images) {
    if (!SameUrl(image.url, uri)) continue;
    image.loaded = true;
    document->resources[image.url] = bytes;
    taken = true;
  }
  if (taken) {
    document->needsRestyle = document->needsLayout = true;
    InvalidateRect(hwnd, nullptr, FALSE);
  }
  return taken ? TRUE : FALSE;
}

extern "C" UINT HLAPI HTMLayoutEnumResourcesEx(HWND hWndHTMLayout, HTMLAYOUT_CALLBACK_RES_EX* cb, LPVOID cbPrm) {
  if (!cb) return 0;
  std::shared_ptr<Document> document = WindowRecords::DocumentOf(hWndHTMLayout);
  if (!document) return 0;
  struct Entry {
    std::wstring url;
    const char* type;
    std::string bytes;
  };
  std::vector<Entry> entries;
  {
    DomainGuard guard(document->lock);
    for (auto& style : document->styles) {
      auto found = document->resources.find(style.url);
      if (!style.href.empty() && found != document->resources.end()) entries.push_back({style.url, "style", found->second});
    }
    for (auto& image : document->images) {
      auto found = document->resources.find(image.url);
      if (found != document->resources.end()) entries.push_back({image.url, "image", found->second});
    }
  }
  UINT count = 0;
  for (auto& entry : entries) {  // the callback runs with no lock held
    ++count;
    if (!cb(entry.url.c_str(), entry.type, reinterpret_cast<LPCBYTE>(entry.bytes.data()),
            static_cast<DWORD>(entry.bytes.size()), cbPrm))
      break;
  }
  return count;
}
