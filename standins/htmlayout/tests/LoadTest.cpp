// Resources of a page: asked for through HLN_LOAD_DATA and answered by the
// host (HTMLayoutDataReady from inside the callback, or outData), skipped on
// LOAD_DISCARD, or read from files relative to the base URL.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "standins/htmlayout/tests/Library.h"
#include "tests/support/Kit.h"

namespace {

const char kPage[] =
    "<link rel=stylesheet href=\"main.css\"><link rel=icon href=i.ico>"
    "<p><img src=\"img/logo.png\"><img src=../shared/back.png></p>";

struct Request {
  std::wstring uri;
  UINT code;
  HWND from;
  UINT dataType;
  std::string principal;
};

struct Host {
  enum class Answer { DataReady, OutData, Discard, Nothing } answer = Answer::DataReady;
  std::vector<Request> requests;
  std::string outData = "from outData";
};

LRESULT CALLBACK Notify(UINT msg, WPARAM, LPARAM lParam, LPVOID param) {
  auto* host = static_cast<Host*>(param);
  auto* load = reinterpret_cast<NMHL_LOAD_DATA*>(lParam);
  EXPECT_EQ(msg, static_cast<UINT>(WM_NOTIFY));
  host->requests.push_back({load->uri, load->hdr.code, load->hdr.hwndFrom, load->dataType, TypeOf(load->principal)});
  std::string answer = "for " + Narrow(load->uri);
  switch (host->answer) {
    case Host::Answer::DataReady:
      EXPECT_TRUE(Hl().HTMLayoutDataReady(load->hdr.hwndFrom, load->uri, reinterpret_cast<LPBYTE>(&answer[0]),
                                          static_cast<DWORD>(answer.size())));
      return LOAD_OK;
    case Host::Answer::OutData:
      load->outData = &host->outData[0];
      load->outDataSize = static_cast<DWORD>(host->outData.size());
      return LOAD_OK;
    case Host::Answer::Discard: return LOAD_DISCARD;
    case Host::Answer::Nothing: return LOAD_OK;
  }
  return LOAD_OK;
}

BOOL CALLBACK Keep(LPCWSTR uri, LPCSTR type, LPCBYTE data, DWORD size, LPVOID param) {
  (*static_cast<std::map<std::wstring, std::string>*>(param))[uri] =
      std::string(type) + ":" + std::string(reinterpret_cast<const char*>(data), size);
  return TRUE;
}

std::map<std::wstring, std::string> Resources(HWND hwnd) {
  std::map<std::wstring, std::string> resources;
  Hl().HTMLayoutEnumResourcesEx(hwnd, Keep, &resources);
  return resources;
}

TEST(Load, AsksTheHostForEachResourceInOrder) {
  TestWindow window;
  Host host;
  Hl().HTMLayoutSetCallback(window.hwnd(), Notify, &host);
  LoadPage(window.hwnd(), kPage, L"file://C:\\setup\\lang\\");
  ASSERT_EQ(host.requests.size(), 3u);
  const Request expected[] = {
      {L"file://C:\\setup\\lang/main.css", HLN_LOAD_DATA, window.hwnd(), HLRT_DATA_STYLE, "link"},
      {L"file://C:\\setup\\lang/img/logo.png", HLN_LOAD_DATA, window.hwnd(), HLRT_DATA_IMAGE, "img"},
      {L"file://C:\\setup\\shared/back.png", HLN_LOAD_DATA, window.hwnd(), HLRT_DATA_IMAGE, "img"},
  };
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(host.requests[i].uri, expected[i].uri);
    EXPECT_EQ(host.requests[i].code, 0xB01u);
    EXPECT_EQ(host.requests[i].from, expected[i].from);
    EXPECT_EQ(host.requests[i].dataType, expected[i].dataType);
    EXPECT_EQ(host.requests[i].principal, expected[i].principal);
  }
  auto resources = Resources(window.hwnd());
  EXPECT_EQ(resources[expected[0].uri], "style:for file://C:\\setup\\lang/main.css");
  EXPECT_EQ(resources[expected[2].uri], "image:for file://C:\\setup\\shared/back.png");
  EXPECT_FALSE(Hl().HTMLayoutDataReady(window.hwnd(), L"file://C:\\elsewhere.css", nullptr, 0))
      << "data for nothing the page asked for";
}

// Files beside the page, base URLs in the shapes hosts pass them.
class FromFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = NewTempFolder(L"htmlayout");
    WriteAll(folder_ + L"lang\\main.css", "p { color: red }");
    WriteAll(folder_ + L"lang\\img\\logo.png", "PNG logo");
    WriteAll(folder_ + L"shared\\back.png", "PNG back");
  }
  void TearDown() override { RemoveTree(folder_); }

  // What the page got, by file name.
  std::map<std::string, std::string> Load(const std::wstring& base, Host* host) {
    if (host) Hl().HTMLayoutSetCallback(window_.hwnd(), Notify, host);
    LoadPage(window_.hwnd(), kPage, base.c_str());
    std::map<std::string, std::string> byName;
    for (auto& entry : Resources(window_.hwnd())) {
      std::string uri = Narrow(entry.first);
      byName[uri.substr(uri.find_last_of("/\\") + 1)] = entry.second;
    }
    return byName;
  }

  TestWindow window_;
  std::wstring folder_;
};

TEST_F(FromFiles, ResolvesAgainstEveryShapeOfBase) {
  std::wstring forward = folder_;
  for (auto& c : forward) c = c == L'\\' ? L'/' : c;
  const std::wstring bases[] = {L"file://" + folder_ + L"lang\\", L"file:///" + forward + L"lang/",
                                folder_ + L"lang\\page.htm", L"file://" + folder_ + L"lang\\.\\x\\..\\"};
  for (auto& base : bases) {
    auto got = Load(base, nullptr);
    EXPECT_EQ(got["main.css"], "style:p { color: red }") << Narrow(base);
    EXPECT_EQ(got["logo.png"], "image:PNG logo") << Narrow(base);
    EXPECT_EQ(got["back.png"], "image:PNG back") << Narrow(base);
  }
}

TEST_F(FromFiles, HostAnswersComeBeforeFilesAndDiscardSkips) {
  Host host;
  host.answer = Host::Answer::OutData;
  EXPECT_EQ(Load(L"file://" + folder_ + L"lang\\", &host)["main.css"], "style:from outData");
  host.answer = Host::Answer::Nothing;
  EXPECT_EQ(Load(L"file://" + folder_ + L"lang\\", &host)["main.css"], "style:p { color: red }");
  host.answer = Host::Answer::Discard;
  EXPECT_TRUE(Load(L"file://" + folder_ + L"lang\\", &host).empty());
}

}  // namespace
