#include <gtest/gtest.h>

#include <string>

#include "standins/htmlayout/layout/TextMeasurer.h"

namespace {

using hl::layout::FontKey;
using hl::layout::GdiTextMeasurer;

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

float Width(GdiTextMeasurer& measurer, const FontKey& key, const std::wstring& text) {
  return measurer.Width(measurer.FontOf(key), text.data(), text.size());
}

TEST(MeasurerTest, GdiFontsUnderTheRealSystem) {
  GdiTextMeasurer measurer;
  // Wine may lack Tahoma (its font mapper then answers with another face):
  // judge by a face this system has, and by the fallback.
  std::wstring present = measurer.FaceOf(L"Tahoma, Arial, Liberation Sans, Courier");
  ASSERT_NE(present, L"MS Shell Dlg");
  EXPECT_EQ(measurer.FaceOf(L"No Such Face, '" + present + L"', Tahoma"), present);
  std::wstring fallback = measurer.FaceOf(L"No Such Face");
  EXPECT_TRUE(fallback == L"Tahoma" || fallback == L"MS Shell Dlg") << Narrow(fallback);

  FontKey normal{L"Tahoma", 12, 400, false}, big{L"Tahoma", 24, 400, false}, bold{L"Tahoma", 12, 700, false};
  int font = measurer.FontOf(normal);
  EXPECT_EQ(measurer.FontOf(FontKey{L"Tahoma", 12, 400, false}), font);
  HFONT handle = measurer.Handle(font);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(measurer.Handle(font), handle);

  float one = Width(measurer, normal, L"Install");
  EXPECT_GT(one, 20);
  EXPECT_NEAR(Width(measurer, normal, L"InstallInstall"), 2 * one, 2);
  EXPECT_GT(Width(measurer, big, L"Install"), 1.7f * one);
  EXPECT_GT(Width(measurer, bold, L"Install"), one);

  hl::layout::FontMetrics metrics = measurer.Metrics(font);
  EXPECT_GT(metrics.ascent, 8);
  EXPECT_GT(metrics.descent, 1);
  EXPECT_LT(metrics.ascent + metrics.descent, 20);
}

}  // namespace
