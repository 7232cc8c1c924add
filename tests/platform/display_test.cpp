#include "platform/display.h"

#include "support/common.h"
#if defined(HAS_X11)
#include "support/x_server.h"
#endif

namespace {

#if defined(HAS_X11)

TEST(Display, AServerThatGoesAwayEndsNoPicture) {
    XServer server("64x48x24");
    if (!server.up) GTEST_SKIP() << "there is no Xvfb: scripts/setup installs it";
    const HDC screen = CreateDCA("DISPLAY", nullptr, nullptr, nullptr);
    const HDC memory = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, 64, 48);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    const auto copied = [&](int x, int y, int to_x, int to_y) {
        SetLastError(ERROR_SUCCESS);
        const BOOL done = BitBlt(memory, to_x, to_y, 60, 40, screen, x, y, SRCCOPY);
        return tuple(done, GetLastError());
    };
    EXPECT_EQ(copied(4, 8, 0, 0), tuple(TRUE, ERROR_SUCCESS));
    EXPECT_EQ(copied(0, 0, 4, 8), tuple(TRUE, ERROR_SUCCESS));
    for (const auto& [x, y] : {std::pair(5, 0), {0, 9}, {-1, 0}, {0, -1}, {INT32_MAX, 0}}) {
        EXPECT_EQ(copied(x, y, 0, 0), tuple(FALSE, ERROR_INVALID_PARAMETER));
        EXPECT_EQ(copied(0, 0, x, y), tuple(FALSE, ERROR_INVALID_PARAMETER));
    }
    PALETTEENTRY entry;
    EXPECT_EQ(GetSystemPaletteEntries(screen, 0, 1, &entry), 0U);
    server.end();
    EXPECT_EQ(copied(0, 0, 0, 0), tuple(FALSE, ERROR_BROKEN_PIPE));
    EXPECT_EQ(SelectObject(memory, before), bitmap);
    EXPECT_TRUE(DeleteObject(bitmap) && DeleteDC(memory) && DeleteDC(screen));
}

#else

TEST(Display, AServerThatGoesAwayEndsNoPicture) {
    GTEST_SKIP() << "an X server of the test's own needs the headers of libX11";
}

#endif

}  // namespace
