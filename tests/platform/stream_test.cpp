// Streams: text and bytes, appending from several processes.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/files.h"
#include "support/child_process.h"
#include "support/temp_folder.h"

namespace {

#if defined(_WIN32)
const std::string kLineEnd = "\r\n";
#else
const std::string kLineEnd = "\n";
#endif

// All of a stream, read in pieces of a size.
std::string read_all(FILE* stream, size_t piece) {
    std::string all;
    std::vector<char> buffer(piece);
    size_t count = 0;
    while ((count = fread(buffer.data(), 1, piece, stream)) > 0) all.append(buffer.data(), count);
    return all;
}

TEST(Stream, TextIsReadWithPlainLineEnds) {
    const TempFolder folder;
    // One pair lies across the buffer's end, one behind it, one at the very end.
    const std::string before(8191, 'x');
    const struct {
        std::string stored, read;
    } rows[] = {
        {"a\r\nb\r\n", "a\nb\n"},
        {"a\nb", "a\nb"},
        {"\r\n\r\n", "\n\n"},
        {"a\rb\r", "a\rb\r"},
        {"\r\r\n\r\r", "\r\n\r\r"},
        {before + "\r\ny\r\n", before + "\ny\n"},
        {before + "\ry", before + "\ry"},
        {before + "\r\r\n", before + "\r\n"},
        {before + "y\r\n", before + "y\n"},
        {"", ""},
    };
    for (const auto& row : rows) {
        const std::string name = folder.write("f", row.stored);
        for (const char* mode : {"rt", "r", "r+t", "a+t"}) {
            for (const size_t piece : {size_t{1}, size_t{7}, size_t{100'000}}) {
                FILE* stream = platform::open_stream(name.c_str(), mode);
                ASSERT_NE(stream, nullptr) << mode;
                EXPECT_TRUE(read_all(stream, piece) == row.read)
                    << mode << " " << row.stored.size();
                EXPECT_EQ(fclose(stream), 0);
            }
        }
        FILE* stream =
            platform::open_stream_wide(std::wstring(name.begin(), name.end()).c_str(), L"rt");
        ASSERT_NE(stream, nullptr);
        setvbuf(stream, nullptr, _IONBF, 0);
        EXPECT_TRUE(read_all(stream, 3) == row.read) << row.stored.size();
        fclose(stream);
        EXPECT_TRUE(read_bytes(name) == row.stored);
    }
}

TEST(Stream, BytesAreReadAsTheyAre) {
    const TempFolder folder;
    const std::string name = folder.write("f",
                                          "a\r\n\x1A"
                                          "b\r\n");
    FILE* stream = platform::open_stream(name.c_str(), "rb");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(read_all(stream, 100),
              "a\r\n\x1A"
              "b\r\n");
    fclose(stream);
}

TEST(Stream, WritesTheLineEndOfThePlatform) {
    const TempFolder folder;
    const std::string name = folder / "f";
    const struct {
        const char* mode;
        std::string text, stored;
    } rows[] = {
        {"wt", "one\n", "one" + kLineEnd},
        {"a+t", "two\n", "one" + kLineEnd + "two" + kLineEnd},
        {"ab", "3\n", "one" + kLineEnd + "two" + kLineEnd + "3\n"},
        {"r+t", "O\n", "O" + kLineEnd},
        {"w+t", "new\n", "new" + kLineEnd},
        {"wb", "\n", "\n"},
    };
    for (const auto& row : rows) {
        FILE* stream = platform::open_stream(name.c_str(), row.mode);
        ASSERT_NE(stream, nullptr) << row.mode;
        EXPECT_EQ(fputs(row.text.c_str(), stream) >= 0, true);
        EXPECT_EQ(fclose(stream), 0);
        EXPECT_EQ(read_bytes(name).substr(0, row.stored.size()), row.stored) << row.mode;
    }
}

TEST(Stream, Failures) {
    const TempFolder folder;
    const std::string name = folder.write("f", "x");
    EXPECT_EQ(platform::open_stream((folder / "none").c_str(), "rt"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(platform::open_stream((folder / "none/f").c_str(), "a+t"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(platform::open_stream(folder.str().c_str(), "rt"), nullptr);
    EXPECT_EQ(errno, EACCES);
    for (const char* mode : {"", "x", "tr"}) {
        EXPECT_EQ(platform::open_stream(name.c_str(), mode), nullptr) << mode;
        EXPECT_EQ(errno, EINVAL) << mode;
    }
}

CHILD_ROLE(appends) {
    FILE* stream = platform::open_stream(args[0].c_str(), "a+t");
    for (int i = 0; i < 200; ++i) {
        // Longer than the stream's own buffer.
        const std::string entry = std::string(20'000, args[1][0]) + "\n";
        if (i % 2 == 0) {
            fflush(stream);
            _write(_fileno(stream), entry.data(), static_cast<unsigned>(entry.size()));
        } else {
            fprintf(stream, "%.3000s\n", entry.c_str());
            fflush(stream);
        }
    }
    return fclose(stream);
}

TEST(Stream, EntriesOfProcessesStayWhole) {
#if defined(_WIN32)
    GTEST_SKIP() << "the C run-time there appends in two steps";
#endif
    const TempFolder folder;
    const std::string name = folder / "log";
    ChildProcess one("appends", {name, "a"});
    ChildProcess two("appends", {name, "b"});
    EXPECT_EQ(one.wait(), 0);
    EXPECT_EQ(two.wait(), 0);
    const std::string log = read_bytes(name);
    EXPECT_EQ(log.size(), 2u * 100 * (20'001 + 3'001));
    for (size_t start = 0; start < log.size();) {
        const size_t end = log.find('\n', start);
        ASSERT_NE(end, std::string::npos);
        ASSERT_TRUE(end - start == 20'000 || end - start == 3'000) << end - start;
        ASSERT_EQ(log.find_first_not_of(log[start], start), end) << "two entries are mixed";
        start = end + 1;
    }
}

TEST(Stream, DescriptorsOfAllStreams) {
    const TempFolder folder;
    const std::string name = folder.write("f", "0123\r\n");
    FILE* streams[] = {platform::open_stream(name.c_str(), "rt"),
                       platform::open_stream(name.c_str(), "a+t"),
                       platform::open_stream(name.c_str(), "rb"), fopen(name.c_str(), "r")};
    for (FILE* stream : streams) {
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(_filelengthi64(_fileno(stream)), 6);
        EXPECT_EQ(_telli64(_fileno(stream)), 0);
    }
    for (FILE* stream : streams) EXPECT_EQ(fclose(stream), 0);
}

#if !defined(_WIN32)

TEST(Stream, PositionsBehindAPairAreRefused) {
    const TempFolder folder;
    const std::string name = folder.write("f", "ab\r\ncd\r\nef");
    FILE* stream = platform::open_stream(name.c_str(), "r+t");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(fseek(stream, 1, SEEK_SET), 0);
    EXPECT_EQ(fgetc(stream), 'b');
    EXPECT_EQ(fseek(stream, 0, SEEK_SET), 0);
    EXPECT_EQ(read_all(stream, 100), "ab\ncd\nef");
    EXPECT_NE(fseek(stream, -3, SEEK_CUR), 0);
    rewind(stream);
    EXPECT_EQ(read_all(stream, 100), "ab\ncd\nef");
    // Where the place isn't known nothing is written; at the end it is.
    rewind(stream);
    char line[10];
    EXPECT_NE(fgets(line, sizeof line, stream), nullptr);
    fputs("XX", stream);
    EXPECT_NE(fflush(stream), 0);
    fclose(stream);
    EXPECT_EQ(read_bytes(name), "ab\r\ncd\r\nef");
    stream = platform::open_stream(name.c_str(), "r+t");
    EXPECT_EQ(read_all(stream, 100), "ab\ncd\nef");
    EXPECT_EQ(fseek(stream, 0, SEEK_END), 0);
    fputs("\ngh", stream);
    EXPECT_EQ(fclose(stream), 0);
    EXPECT_EQ(read_bytes(name), "ab\r\ncd\r\nef\ngh");
}

TEST(Stream, FullDisk) {
    for (const char* mode : {"wt", "w+t", "a+t", "wb"}) {
        FILE* stream = platform::open_stream("/dev/full", mode);
        ASSERT_NE(stream, nullptr) << mode;
        fputs("text", stream);
        EXPECT_NE(fflush(stream), 0) << mode;
        fclose(stream);
    }
}

#endif

}  // namespace
