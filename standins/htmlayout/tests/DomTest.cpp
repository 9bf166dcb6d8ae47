// The tree through the C interface: navigation, changes, reference counts and
// visits whose callbacks change what they visit.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "standins/htmlayout/tests/Library.h"

namespace {

const char kPage[] =
    "<div id=list><p class=a>one</p>text<p class=b data-k=x1>two</p><span data-k=y2>three</span></div>"
    "<div id=other><p>four</p></div>";

class Dom : public ::testing::Test {
 protected:
  void SetUp() override {
    LoadPage(window_.hwnd(), kPage);
    body_ = BodyOf(window_.hwnd());
    list_ = Child(body_, 0);
  }
  TestWindow window_;
  HELEMENT body_ = nullptr;
  HELEMENT list_ = nullptr;
};

TEST_F(Dom, NavigatesOverElementsOnly) {
  EXPECT_EQ(ChildCount(list_), 3u);
  HELEMENT two = Child(list_, 1);
  EXPECT_EQ(TextOf(two), L"two");
  UINT index = 99;
  EXPECT_EQ(Hl().HTMLayoutGetElementIndex(two, &index), HLDOM_OK);
  EXPECT_EQ(index, 1u);
  HELEMENT parent = nullptr;
  EXPECT_EQ(Hl().HTMLayoutGetParentElement(two, &parent), HLDOM_OK);
  EXPECT_EQ(parent, list_);
  EXPECT_EQ(Child(list_, 3), nullptr);
  HWND hwnd = nullptr;
  EXPECT_EQ(Hl().HTMLayoutGetElementHwnd(two, &hwnd, TRUE), HLDOM_OK);
  EXPECT_EQ(hwnd, window_.hwnd());
  UINT uid = 0;
  HELEMENT byUid = nullptr;
  Hl().HTMLayoutGetElementUID(two, &uid);
  EXPECT_EQ(Hl().HTMLayoutGetElementByUID(window_.hwnd(), uid, &byUid), HLDOM_OK);
  EXPECT_EQ(byUid, two);
}

TEST_F(Dom, AttributesStylesAndState) {
  HELEMENT two = Child(list_, 1);
  LPCWSTR value = L"unchanged";
  EXPECT_EQ(Hl().HTMLayoutGetAttributeByName(two, "missing", &value), HLDOM_OK);
  EXPECT_EQ(value, nullptr);
  Hl().HTMLayoutSetAttributeByName(two, "Title", L"tip");
  Hl().HTMLayoutGetAttributeByName(two, "title", &value);
  EXPECT_STREQ(value, L"tip");
  Hl().HTMLayoutSetAttributeByName(two, "class", nullptr);
  UINT count = 0;
  Hl().HTMLayoutGetAttributeCount(two, &count);
  ASSERT_EQ(count, 2u);
  LPCSTR name = nullptr;
  Hl().HTMLayoutGetNthAttribute(two, 1, &name, &value);
  EXPECT_STREQ(name, "title");
  EXPECT_EQ(HtmlOf(two), "<p data-k=\"x1\" title=\"tip\">two</p>");

  Hl().HTMLayoutSetStyleAttribute(two, "color", L"red");
  Hl().HTMLayoutGetStyleAttribute(two, "color", &value);
  EXPECT_STREQ(value, L"red");
  Hl().HTMLayoutSetStyleAttribute(two, "color", nullptr);
  Hl().HTMLayoutGetStyleAttribute(two, "color", &value);
  EXPECT_EQ(value, nullptr);

  UINT state = 0;
  Hl().HTMLayoutSetElementState(two, STATE_CHECKED | STATE_FOCUS, 0, TRUE);
  Hl().HTMLayoutSetElementState(two, STATE_DISABLED, STATE_FOCUS, TRUE);
  Hl().HTMLayoutGetElementState(two, &state);
  EXPECT_EQ(state, static_cast<UINT>(STATE_CHECKED | STATE_DISABLED));
}

TEST_F(Dom, InsertsMovesAndReplacesText) {
  HELEMENT item = nullptr;
  ASSERT_EQ(Hl().HTMLayoutCreateElement("B", L"new", &item), HLDOM_OK);
  EXPECT_EQ(Hl().HTMLayoutInsertElement(item, list_, 100), HLDOM_OK);  // past the end appends
  HELEMENT first = nullptr;
  Hl().HTMLayoutCreateElement("i", nullptr, &first);
  Hl().HTMLayoutInsertElement(first, list_, 0);
  HELEMENT other = Child(body_, 1);
  Hl().HTMLayoutInsertElement(Child(list_, 1), other, 0);  // moves "one" over
  EXPECT_EQ(HtmlOf(list_, false),
            "<i></i>text<p class=\"b\" data-k=\"x1\">two</p><span data-k=\"y2\">three</span><b>new</b>");
  EXPECT_EQ(HtmlOf(other, false), "<p class=\"a\">one</p><p>four</p>");
  EXPECT_EQ(Hl().HTMLayoutInsertElement(list_, Child(list_, 0), 0), HLDOM_INVALID_PARAMETER) << "into itself";

  Hl().HTMLayoutSetElementInnerText16(list_, L"a<b>", 4);
  EXPECT_EQ(HtmlOf(list_, false), "a&lt;b&gt;");
  EXPECT_EQ(TextOf(item), L"new") << "held across the replacement";
  Hl().HTMLayout_UnuseElement(item);
  Hl().HTMLayout_UnuseElement(first);
}

TEST_F(Dom, HeldElementOutlivesItsRemovalAndItsDocument) {
  HELEMENT two = Child(list_, 1);
  HELEMENT span = Child(list_, 2);
  Hl().HTMLayout_UseElement(two);
  Hl().HTMLayout_UseElement(span);
  EXPECT_EQ(Hl().HTMLayoutDeleteElement(two), HLDOM_OK);
  EXPECT_EQ(ChildCount(list_), 2u);
  HELEMENT parent = list_;
  Hl().HTMLayoutGetParentElement(two, &parent);
  EXPECT_EQ(parent, nullptr);
  EXPECT_EQ(HtmlOf(two), "<p class=\"b\" data-k=\"x1\">two</p>");

  LoadPage(window_.hwnd(), "<p>next page</p>");  // the old tree goes, span stays
  EXPECT_EQ(TextOf(span), L"three");
  Hl().HTMLayoutSetAttributeByName(span, "id", L"kept");
  EXPECT_EQ(HtmlOf(span), "<span data-k=\"y2\" id=\"kept\">three</span>");
  HWND hwnd = window_.hwnd();
  Hl().HTMLayoutGetElementHwnd(span, &hwnd, TRUE);
  EXPECT_EQ(hwnd, nullptr);
  EXPECT_EQ(Hl().HTMLayout_UnuseElement(span), HLDOM_OK);
  EXPECT_EQ(Hl().HTMLayout_UnuseElement(two), HLDOM_OK);
}

struct Visit {
  const char* tags;
  const char* attribute;
  const wchar_t* value;
  DWORD depth;
  std::vector<std::string> expected;  // tags of the visited elements, in order
};

BOOL CALLBACK Record(HELEMENT he, LPVOID param) {
  static_cast<std::vector<std::string>*>(param)->push_back(TypeOf(he));
  return FALSE;
}

TEST_F(Dom, VisitsWhatTheFilterNames) {
  const Visit visits[] = {
      {"p", nullptr, nullptr, 0, {"p", "p", "p"}},
      {"span, P", nullptr, nullptr, 0, {"p", "p", "span", "p"}},
      {nullptr, "data-*", nullptr, 0, {"p", "span"}},
      {nullptr, "data-k", L"[xz]?", 0, {"p"}},
      {nullptr, nullptr, L"*2", 0, {"span"}},
      {nullptr, nullptr, nullptr, 1, {"div", "div"}},
  };
  for (auto& visit : visits) {
    std::vector<std::string> seen;
    EXPECT_EQ(Hl().HTMLayoutVisitElements(body_, visit.tags, visit.attribute, visit.value, Record, &seen, visit.depth),
              HLDOM_OK);
    EXPECT_EQ(seen, visit.expected) << (visit.tags ? visit.tags : "") << " " << (visit.attribute ? visit.attribute : "");
  }
}

BOOL CALLBACK Rewrite(HELEMENT he, LPVOID param) {
  ++*static_cast<int*>(param);
  Hl().HTMLayoutSetElementInnerText16(he, L"changed", 7);
  HELEMENT extra = nullptr;  // and something new beside it
  Hl().HTMLayoutCreateElement("hr", nullptr, &extra);
  Hl().HTMLayoutInsertElement(extra, he, 0);
  Hl().HTMLayout_UnuseElement(extra);
  return FALSE;
}

BOOL CALLBACK RemoveAndStop(HELEMENT he, LPVOID param) {
  Hl().HTMLayoutDeleteElement(he);
  return ++*static_cast<int*>(param) == 2;
}

TEST_F(Dom, VisitSurvivesCallbacksThatChangeTheTree) {
  LoadPage(window_.hwnd(), "<div><div><p>a</p></div><p><b>b</b></p></div>");
  HELEMENT body = BodyOf(window_.hwnd());
  int calls = 0;
  Hl().HTMLayoutVisitElements(body, "div,p", nullptr, nullptr, Rewrite, &calls, 0);
  EXPECT_EQ(calls, 4) << "elements found before the first callback are all visited";
  EXPECT_EQ(HtmlOf(body, false), "<div>changed<hr></div>");

  LoadPage(window_.hwnd(), "<p>1</p><p>2</p><p>3</p>");
  body = BodyOf(window_.hwnd());
  calls = 0;
  Hl().HTMLayoutVisitElements(body, "p", nullptr, nullptr, RemoveAndStop, &calls, 0);
  EXPECT_EQ(calls, 2) << "TRUE stops";
  EXPECT_EQ(HtmlOf(body, false), "<p>3</p>");
}

TEST(Values, CompareCopyAndClear) {
  VALUE a, b;
  Hl().ValueInit(&a);
  Hl().ValueInit(&b);
  Hl().ValueStringDataSet(&a, L"text", 4, 0);
  Hl().ValueCopy(&b, &a);
  Hl().ValueStringDataSet(&a, L"other", 5, 0);
  LPCWSTR chars = nullptr;
  UINT length = 0;
  Hl().ValueStringData(&b, &chars, &length);
  EXPECT_EQ(std::wstring(chars, length), L"text") << "a copy keeps its string";
  EXPECT_EQ(Hl().ValueCompare(&a, &b), static_cast<UINT>(HV_OK));
  Hl().ValueStringDataSet(&a, L"text", 4, 0);
  EXPECT_EQ(Hl().ValueCompare(&a, &b), static_cast<UINT>(HV_OK_TRUE));
  Hl().ValueIntDataSet(&a, 7, T_INT, 0);
  Hl().ValueIntDataSet(&b, 7, T_BOOL, 0);
  EXPECT_EQ(Hl().ValueCompare(&a, &b), static_cast<UINT>(HV_OK));
  Hl().ValueClear(&a);
  Hl().ValueClear(&b);
  EXPECT_EQ(a.t, static_cast<UINT>(T_UNDEFINED));
}

}  // namespace
