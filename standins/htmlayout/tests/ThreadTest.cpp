// A second thread works on the elements while the window's thread loads pages
// and pumps its messages: nothing crashes, nothing hangs, and the tree the
// second thread worked on is whole at the end.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "standins/htmlayout/tests/Library.h"

namespace {

std::string ListPage(int items) {
  std::string html = "<ul id=list>";
  for (int i = 0; i < items; ++i) html += "<li class=item>item " + std::to_string(i) + "</li>";
  return html + "</ul>";
}

BOOL CALLBACK Touch(HELEMENT he, LPVOID param) {
  Hl().HTMLayoutSetElementInnerText16(he, L"touched", 7);
  Hl().HTMLayoutSetAttributeByName(he, "data-n", L"1");
  Hl().HTMLayoutSetElementState(he, STATE_CHECKED, 0, TRUE);
  return FALSE;
}

TEST(Threads, ElementCallsFromASecondThreadWhileTheWindowLoadsAndPumps) {
  TestWindow window;
  LoadPage(window.hwnd(), ListPage(40));
  HELEMENT list = Child(BodyOf(window.hwnd()), 0);
  Hl().HTMLayout_UseElement(list);  // the worker's tree stays valid across reloads

  std::atomic<bool> stop{false};
  std::atomic<int> rounds{0};
  std::thread worker([&] {
    while (!stop) {
      Hl().HTMLayoutVisitElements(list, "li", nullptr, nullptr, Touch, nullptr, 0);
      HELEMENT extra = nullptr;
      Hl().HTMLayoutCreateElement("li", L"extra", &extra);
      Hl().HTMLayoutInsertElement(extra, list, 3);
      Hl().HTMLayout_UnuseElement(extra);
      HtmlOf(list);
      HELEMENT third = Child(list, 3);
      Hl().HTMLayoutDeleteElement(third);
      ++rounds;
    }
  });

  DWORD end = GetTickCount() + 1500;
  int loads = 0;
  while (GetTickCount() < end) {
    if (++loads % 20 == 0) LoadPage(window.hwnd(), ListPage(40));
    HELEMENT root = nullptr;
    Hl().HTMLayoutGetRootElement(window.hwnd(), &root);
    HtmlOf(root);
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&msg);
    Sleep(1);
  }
  stop = true;
  worker.join();

  EXPECT_GT(rounds.load(), 5);
  EXPECT_GT(loads, 20);
  EXPECT_EQ(ChildCount(list), 40u) << "every round adds one and removes one";
  EXPECT_EQ(TextOf(Child(list, 39)), L"touched");
  HELEMENT parent = nullptr;
  Hl().HTMLayoutGetParentElement(list, &parent);
  EXPECT_EQ(parent, nullptr) << "the list left with its first page";
  EXPECT_EQ(Hl().HTMLayout_UnuseElement(list), HLDOM_OK);
}

}  // namespace
