// Painted pixels, captured from the screen and through WM_PRINTCLIENT:
// backgrounds, rounded borders, text, pictures with alpha, a semi-transparent
// overlay, hidden boxes, and a layered window with see-through corners.
#include <cstdlib>

#include "standins/htmlayout/tests/ViewWindow.h"
#include "tests/support/Kit.h"

namespace {

// 0xRRGGBB of a captured pixel.
uint32_t Rgb(uint32_t pixel) { return pixel & 0xFFFFFF; }
int Channel(uint32_t pixel, int shift) { return static_cast<int>(pixel >> shift & 0xFF); }
bool Near(uint32_t pixel, uint32_t rgb, int tolerance = 3) {
  for (int shift : {0, 8, 16}) {
    if (std::abs(Channel(pixel, shift) - Channel(rgb, shift)) > tolerance) return false;
  }
  return true;
}

// A 30x10 picture in three bands: opaque green, half-transparent black, fully transparent.
std::string Picture() {
  std::vector<uint32_t> pixels;
  for (int i = 0; i < 300; ++i) pixels.push_back(i % 30 < 10 ? 0xFF00FF00u : i % 30 < 20 ? 0x80000000u : 0u);
  return EncodePng(30, 10, pixels);
}

LRESULT CALLBACK GivePicture(UINT msg, WPARAM, LPARAM lParam, LPVOID param) {
  auto* request = reinterpret_cast<NMHL_LOAD_DATA*>(lParam);
  if (msg != WM_NOTIFY || request->hdr.code != HLN_LOAD_DATA) return LOAD_OK;
  const std::string& png = *static_cast<const std::string*>(param);
  if (wcsstr(request->uri, L"pic.png")) Hl().HTMLayoutDataReady(request->hdr.hwndFrom, request->uri,
                                                                reinterpret_cast<LPBYTE>(const_cast<char*>(png.data())),
                                                                static_cast<DWORD>(png.size()));
  return LOAD_OK;
}

const char kPage[] =
    "<style>html,body{margin:0;padding:0;background:white}"
    "div,img,progress{position:absolute;top:0}"
    "#bg{left:0;width:40px;height:40px;background:#ff0000}"
    "#bd{left:50px;width:32px;height:32px;border:4px solid #0000ff;border-radius:12px;background:#00ff00}"
    "#under{left:100px;width:40px;height:40px;background:#0000ff}"
    "#over{left:100px;width:40px;height:40px;background:rgba(255,255,255,0.5)}"
    "#frame{left:150px;width:30px;height:10px;background:#ff0000}"
    "#pic{left:150px;width:30px;height:10px}"
    "#hid{left:190px;width:10px;height:40px;background:black;visibility:hidden}"
    "#tile{left:0;top:60px;width:40px;height:10px;background:#ff0000 url(pic.png) no-repeat}"
    "#tx{left:0;top:80px;font:bold 24px Tahoma;color:black;white-space:nowrap}"
    "#clip{left:100px;top:60px;width:20px;height:20px;overflow:hidden;background:white}"
    "#clip div{left:0;top:0;width:60px;height:60px;background:#00ff00}"
    "#bar{left:150px;top:60px;width:40px;height:6px;border-radius:0;background:#ff0000;color:#00ff00}"
    "</style><div id=bg></div><div id=bd></div><div id=under></div><div id=over></div>"
    "<div id=frame></div><img id=pic src=pic.png><div id=hid></div><div id=tile></div>"
    "<div id=tx>HHHH</div><div id=clip><div></div></div><progress id=bar value=30 max=60></progress>";

void CheckPage(const Shot& shot) {
  ASSERT_GE(shot.width, 200);
  struct Probe {
    int x, y;
    uint32_t rgb;
    const char* what;
  } probes[] = {
      {20, 20, 0xFF0000, "background"},
      {66, 20, 0x00FF00, "inside the border"},
      {52, 20, 0x0000FF, "left border"},
      {66, 1, 0x0000FF, "top border"},
      {50, 0, 0xFFFFFF, "outside the rounded corner"},
      {120, 20, 0x7F7FFF, "white at half alpha over blue"},
      {155, 5, 0x00FF00, "opaque third of the picture"},
      {165, 5, 0x7F0000, "half-transparent black over red"},
      {175, 5, 0xFF0000, "transparent third shows the box under it"},
      {195, 20, 0xFFFFFF, "visibility: hidden"},
      {5, 65, 0x00FF00, "background image at the padding box's corner"},
      {35, 65, 0xFF0000, "no-repeat leaves the background colour"},
      {110, 70, 0x00FF00, "the child inside its clipping parent"},
      {130, 70, 0xFFFFFF, "the child clipped by overflow: hidden"},
      {165, 62, 0x00FF00, "a progress bar's filled half"},
      {185, 62, 0xFF0000, "the rest of the bar"},
  };
  for (const Probe& p : probes) {
    uint32_t pixel = shot.At(p.x, p.y);
    EXPECT_TRUE(Near(pixel, p.rgb)) << p.what << " at " << p.x << "," << p.y << ": " << std::hex << Rgb(pixel);
  }
  int darkest = 255;
  for (int y = 80; y < 110; ++y) {
    for (int x = 0; x < 80; ++x) darkest = std::min(darkest, Channel(shot.At(x, y), 8));
  }
  EXPECT_LT(darkest, 80) << "black text on white";
}

TEST(PaintTest, PagePaintedOnScreenAndPrinted) {
  std::string png = Picture();
  ViewWindow window(220, 120, 0, true);
  Hl().HTMLayoutSetCallback(window.hwnd(), GivePicture, &png);
  window.Load(kPage);
  Hl().HTMLayoutUpdateWindow(window.hwnd());
  Pump(300);
  {
    SCOPED_TRACE("screen");
    CheckPage(FromScreen(window.hwnd()));
  }
  {
    SCOPED_TRACE("WM_PRINTCLIENT");
    CheckPage(Printed(window.hwnd()));
  }
}

// An <img> without a size takes its picture's; with one side set it keeps the
// picture's ratio; inline it sits on the line like an inline-block.
TEST(PaintTest, PicturesKeepTheirNaturalSize) {
  std::string png = Picture();
  ViewWindow window(220, 120);
  Hl().HTMLayoutSetCallback(window.hwnd(), GivePicture, &png);
  window.Load("<style>html,body{margin:0;padding:0} img{vertical-align:top}</style>"
              "<img id=a src=pic.png><img id=b src=pic.png style='height:20px'>"
              "<img id=c src=pic.png style='width:15px'><img id=d src=missing.png>");
  const struct {
    const char* selector;
    const char* box;
  } cases[] = {{"#a", "0,0,30,10"}, {"#b", "30,0,90,20"}, {"#c", "90,0,105,5"}, {"#d", "105,0,105,0"}};
  for (const auto& c : cases) {
    EXPECT_EQ(Where(window.Find(c.selector), ROOT_RELATIVE | BORDER_BOX), c.box) << c.selector;
  }
}

TEST(PaintTest, ChangesRepaint) {
  ViewWindow window(100, 50, 0, true);
  HELEMENT root = window.Load("<style>html,body{margin:0;padding:0} #b{height:50px;background:#ff0000}</style><div id=b>");
  ASSERT_NE(root, nullptr);
  Hl().HTMLayoutUpdateWindow(window.hwnd());
  EXPECT_TRUE(Near(Printed(window.hwnd()).At(10, 10), 0xFF0000));
  Hl().HTMLayoutSetStyleAttribute(window.Find("#b"), "background-color", L"#0000ff");
  Pump(100);
  EXPECT_TRUE(Near(FromScreen(window.hwnd()).At(10, 10), 0x0000FF));
}

TEST(PaintTest, ClearTypeTextStillInks) {
  ViewWindow window(120, 40);
  EXPECT_TRUE(Hl().HTMLayoutSetOption(window.hwnd(), HTMLAYOUT_FONT_SMOOTHING, 3));
  window.Load("<style>html,body{margin:0;padding:0}</style><p style='font:20px Tahoma'>HHH</p>");
  Shot shot = Printed(window.hwnd());
  int darkest = 255;
  for (uint32_t pixel : shot.pixels) darkest = std::min(darkest, Channel(pixel, 8));
  EXPECT_LT(darkest, 80);
}

TEST(PaintTest, LayeredWindowKeepsCornersTransparent) {
  ViewWindow behind(120, 80, 0, true);
  behind.Load("<style>html,body{margin:0;padding:0;background:#ff0000;height:80px}</style>");
  Hl().HTMLayoutUpdateWindow(behind.hwnd());
  ViewWindow layered(120, 80, WS_EX_LAYERED | WS_EX_TOOLWINDOW, true);
  layered.Load("<style>html{margin:0;padding:0} body{margin:0;height:80px;background:#0000ff;border-radius:30px}</style>");
  EXPECT_TRUE(Hl().HTMLayoutUpdateWindow(layered.hwnd()));
  Pump(300);
  Shot shot = FromScreen(layered.hwnd());
  EXPECT_TRUE(Near(shot.At(60, 40), 0x0000FF)) << std::hex << Rgb(shot.At(60, 40));
  EXPECT_TRUE(Near(shot.At(1, 1), 0xFF0000)) << "the corner shows the window behind: " << std::hex
                                              << Rgb(shot.At(1, 1));
}

}  // namespace
