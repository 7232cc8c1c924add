// Streams: text and bytes.

#include "platform/files.h"
#include "support/common.h"

#if !defined(_WIN32)

// Stands before the C library's; can be made to fail once, as when memory is out.
static bool no_stream = false;
extern "C" FILE* fdopen(int fd, const char* mode) noexcept {
    if (std::exchange(no_stream, false)) {
        errno = ENOMEM;
        return nullptr;
    }
    return reinterpret_cast<decltype(&fdopen)>(dlsym(RTLD_NEXT, "fdopen"))(fd, mode);
}
#endif

namespace {

// All of a stream, read in pieces of a size, or byte by byte without a buffer.
std::string read_all(FILE* stream, size_t piece = 100) {
    std::string all;
    std::vector<char> buffer(piece);
    if (piece == 1) setvbuf(stream, nullptr, _IONBF, 0);
    for (size_t count = 1; (count = fread(buffer.data(), 1, piece, stream)) > 0;) {
        all.append(buffer.data(), count);
    }
    return all;
}

TEST(Stream, TextIsReadWithPlainLineEnds) {
    const TempFolder folder;
    // Pairs lie across the buffer's end, behind it and at the very end.
    const std::string before(8191, 'x');
    const std::string rows[][2] = {{"a\r\nb\r\n", "a\nb\n"},
                                   {"a\rb\n\r", "a\rb\n\r"},
                                   {"\r\r\n\r\r", "\r\n\r\r"},
                                   {before + "\r\ny\r\n", before + "\ny\n"},
                                   {before + "\r\r\n", before + "\r\n"},
                                   {"", ""}};
    for (const auto& [stored, text] : rows) {
        const std::string name = folder.write("f", stored);
        for (const size_t piece : {1U, 7U, 100'000U}) {
            for (const wchar_t* mode : {L"rt", L"a+t", L"rb"}) {
                FILE* stream = platform::open_stream_wide(fs::path(name).wstring().c_str(), mode);
                ASSERT_NE(stream, nullptr);
                EXPECT_EQ(_filelengthi64(_fileno(stream)), static_cast<int64_t>(stored.size()));
                EXPECT_TRUE(read_all(stream, piece) == (mode[1] == L'b' ? stored : text)) << piece;
                EXPECT_EQ(fclose(stream), 0);
            }
        }
        EXPECT_TRUE(read_bytes(name) == stored);
    }
}

#if !defined(_WIN32)

TEST(Stream, OneThatCannotBeMadeEmptiesNothing) {
    const TempFolder folder;
    const std::string name = folder.write("f", "old");
    no_stream = true;
    errno = 0;
    EXPECT_EQ(platform::open_stream(name.c_str(), "wb"), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(read_bytes(name), "old");
}

TEST(Stream, PositionsBehindAPairAreRefused) {
    const TempFolder folder;
    const std::string name = folder.write("f", "ab\r\ncd\r\nef");
    FILE* stream = platform::open_stream(name.c_str(), "r+t");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(fseek(stream, 1, SEEK_SET), 0);
    EXPECT_EQ(fgetc(stream), 'b');
    rewind(stream);
    EXPECT_EQ(read_all(stream), "ab\ncd\nef");
    EXPECT_NE(fseek(stream, -3, SEEK_CUR), 0);
    EXPECT_EQ(fseek(stream, 0, SEEK_END), 0);
    fputs("\ngh", stream);
    rewind(stream);
    EXPECT_EQ(fgetc(stream), 'a');
    // Where the place isn't known nothing is written.
    fputs("XX", stream);
    EXPECT_NE(fclose(stream), 0);
    EXPECT_EQ(read_bytes(name), "ab\r\ncd\r\nef\ngh");
    stream = platform::open_stream("/dev/full", "a+t");
    fputs("text", stream);
    EXPECT_NE(fclose(stream), 0) << "a full disk";
}

#endif

}  // namespace
