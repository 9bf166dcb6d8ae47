#include "standins/htmlayout/api/Views.h"

namespace hl {

SIZE ClientSize(HWND hwnd) {
  RECT client{};
  GetClientRect(hwnd, &client);  // reads the window's state; sends nothing
  return {client.right - client.left, client.bottom - client.top};
}

std::shared_ptr<WindowView> ViewOf(WindowRecord& record) {
  std::shared_ptr<WindowView> view;
  WindowRecords::Change(record, [&](WindowRecord& r) {
    if (!r.view) r.view = std::make_shared<WindowView>();
    view = r.view;
  });
  return view;
}

}  // namespace hl
