#include "moltelib/remote_file.h"

#include "support/loopback.h"
#include "support/posix.h"

namespace {

// ---- What goes over the wire ----

std::string command(int code, uint32_t length = 0, int result = 0) {
    std::string bytes(32, '\0');
    bytes[8] = static_cast<char>(code);
    bytes[9] = static_cast<char>(result);
    uint4ToChar4(length, reinterpret_cast<uint8_t*>(&bytes[12]));
    return bytes;
}
OXFILESTAT record_of(const char* name) {
    OXFILESTAT record{};
    EXPECT_EQ(ORVEX_GetFileStat(name, &record), 1) << name;
    return record;
}
std::string state(const char* name) {
    return bytes_of(record_of(name));
}
// Of what needn't exist.
std::string forged(std::string_view name, int attributes = 3) {
    std::string bytes(384, '\0');
    bytes[8] = static_cast<char>(attributes);
    return bytes.replace(32, name.size(), name);
}
std::string enter(std::string_view name) {
    return command(1) + forged(name, 0x43);
}
std::string file(std::string_view name, const std::string& bytes) {
    return command(7) + forged(name) + command(8, static_cast<uint32_t>(bytes.size())) + bytes +
           command(11, 0, 1);
}
const std::string kLeave = command(6) + forged("any", 0x43);
const std::string kStop = command(13);

// What a call sends. A thread takes it meanwhile, and touches no file.
std::string sent_by(const std::function<void(OXSOCKET)>& call) {
    const Connection peers;
    std::string all;
    std::thread taker = in_thread([&] {
        int32_t size = 0;
        while (ORVEX_SOCK_WaitDataToRead(&peers.server.number, 1, 20, 0, nullptr) > 0 &&
               (size = ORVEX_SOCK_BufDataLen(peers.server)) > 0) {
            all.resize(all.size() + static_cast<size_t>(size));
            ORVEX_SOCK_Recv(peers.server, &all[all.size() - static_cast<size_t>(size)], size);
        }
    });
    call(peers.client);
    ORVEX_SOCK_Shutdown(peers.client, 1, 0);
    taker.join();
    return all;
}
std::string acted(NET_ORVEX_FTP_ACTION action, const OXFILESTAT* record, int32_t room = 1000) {
    char buffer[1000];
    return sent_by([&](OXSOCKET to) { EXPECT_EQ(action(to, buffer, room, record), 0); });
}
std::string put(const char* name, int32_t room = 1000) {
    const OXFILESTAT record = record_of(name);
    return acted(NET_ORVEX_FTP_ACTION_COPYPUT, &record, room);
}
std::string put_all() {
    std::vector<char> buffer(200'000);
    return sent_by([&](OXSOCKET to) {
        EXPECT_EQ(
            NET_ORVEX_FTP_RecDo(to, ".", buffer.data(), 200'000, NET_ORVEX_FTP_ACTION_COPYPUT), 1);
    });
}

std::string printed;  // by the receiver

// What the receiver makes of bytes and the end behind them: its result, and the error.
std::string receive(const std::string& bytes) {
    Connection peers;
    std::thread giver = in_thread([&] {
        ORVEX_SOCK_Send(peers.client, bytes.data(), static_cast<int32_t>(bytes.size()));
        ORVEX_SOCK_Shutdown(peers.client, 1, 0);
    });
    ORVEX_Err_ClearError();
    testing::internal::CaptureStdout();
    const int32_t result = NET_ORVEX_FTP_ACTION_COPYGET(peers.server, nullptr);
    printed = testing::internal::GetCapturedStdout();
    peers.server.close();
    giver.join();
    return std::to_string(result) + " " + taken_error();
}

// ---- In folder "from", with "to" and a file beside it ----

void write(const char* name, std::string_view bytes) {
    std::ofstream(name, std::ios::binary) << bytes;
}

class RemoteFile : public InFolder {
 protected:
    RemoteFile() {
        for (const char* name : {"from", "to"}) fs::create_directory(folder_.path() / name);
        folder_.write("outside", "untouched");
        go("from");
        testing::internal::CaptureStderr();
    }
    ~RemoteFile() override {
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(names_in(folder_.path()), (Texts{"from", "outside", "to"}));
        EXPECT_EQ(read_bytes(folder_.path() / "outside"), "untouched");
    }
    void go(const char* name) const { fs::current_path(folder_.path() / name); }
    bool is_in(const char* name) const {
        return fs::equivalent(fs::current_path(), folder_.path() / name);
    }
};

TEST_F(RemoteFile, IsSentByTheByte) {
    write("empty", "");
    write("f", "abcde");
    fs::create_directory("d");
    const OXFILESTAT record = record_of("f");
    const std::string f = command(7) + state("f");
    const std::string d = state("d");
    EXPECT_EQ(put("empty", 0), command(7) + state("empty") + command(11, 0, 1));
    EXPECT_EQ(put("f", 5), f + command(8, 5) + "abcde" + command(11, 0, 1));
    EXPECT_EQ(put("f", 2), f + command(8, 2) + "ab" + command(8, 2) + "cd" + command(8, 1) + "e" +
                               command(11, 0, 1));
    EXPECT_EQ(put("d"), command(1) + d + command(2) + command(6) + d);
    EXPECT_EQ(put(".") + put(".."), "");
    EXPECT_EQ(acted(NET_ORVEX_FTP_ACTION_COPYPUT, nullptr), command(2));
    EXPECT_EQ(acted(NET_ORVEX_FTP_ACTION_LISTSVR, &record), command(5) + state("f"));
    EXPECT_EQ(acted(NET_ORVEX_FTP_ACTION_LISTSVR, nullptr), command(2));
    EXPECT_EQ(acted(NET_ORVEX_FTP_ACTION_LISTCLI, &record), "");
    FTP_CMDREC stop{};
    stop.nCommand = ORVEX_FTP_STOP;
    const auto send = [&](Text text) {
        return sent_by([&](OXSOCKET to) { NET_ORVEX_FTP_SendCmd(to, &stop, text); });
    };
    EXPECT_EQ(send("ab"), command(13, 3) + "ab" + '\0');
    EXPECT_EQ(send(nullptr), command(13));
}

TEST_F(RemoteFile, TellsOfFilesThatFail) {
    write("f", "abcde");
    OXFILESTAT record = record_of("f");
    const auto fails = [&](int32_t room, const char* error) {
        EXPECT_EQ(acted(NET_ORVEX_FTP_ACTION_COPYPUT, &record, room),
                  command(7) + bytes_of(record) + command(11, 0, 0xFF));
        EXPECT_EQ(taken_error().substr(0, std::strlen(error)), error);
    };
    fails(0, "50 oftplib");
    uint8ToChar8(6, record.nSize);
    fails(10, "3 oftplib fd=");
    fs::remove("f");
    fails(10, "1 oftplib f");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("errno=3 "), std::string::npos);
    testing::internal::CaptureStderr();
    std::memset(record.szName, 'n', sizeof record.szName);
    EXPECT_EQ(acted(NET_ORVEX_FTP_ACTION_COPYPUT, &record), "");
}

// With names so long that the system's call has none for the deepest folders; Windows has no such
// folders at all.
TEST_F(RemoteFile, TreesArriveAsTheyWere) {
#if defined(_WIN32)
    const std::string name = "d";
#else
    const std::string name(20, 'd');
#endif
    std::string large(100'000, '\0');
    for (size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 7 + i / 253);
    write("large", large);
    write("empty", "");
    for (int i = 0; i <= 100; ++i) {
        if (i == 100) write("deepest", "100");
        fs::create_directory(name);
        fs::current_path(name);
    }
    go("from");
    const std::string bytes = put_all();
    EXPECT_EQ(taken_error(), "29 oftplib " + name);  // the folder below the hundredth
    EXPECT_TRUE(is_in("from"));
    go("to");
    write("empty", "longer than what comes");
    fs::permissions("empty", fs::perms::owner_read);
    fs::create_directory(name);
    write((name + "/kept").c_str(), "k");
    EXPECT_EQ(receive(bytes + kStop), "0 ");
    EXPECT_NE(printed.find("Getting File:large\n"), std::string::npos);
    EXPECT_TRUE(is_in("to"));
    EXPECT_EQ(names_in("."), (Texts{name, "empty", "large"}));
    EXPECT_EQ(names_in(name), (Texts{name, "kept"}));
    EXPECT_TRUE(read_bytes("large") == large && read_bytes("empty").empty());
    for (int i = 0; i < 100; ++i) fs::current_path(name);
    EXPECT_EQ(names_in("."), Texts{"deepest"});
}

TEST_F(RemoteFile, NothingLeavesTheFolder) {
    go("to");
    Texts bad = {"", ".", "..", "a/b", "a\\b", "/tmp", "\\tmp", "../from", "..\\from", "from/"};
    bad.emplace_back(264, 'n');
#if defined(_WIN32)
    bad.insert(bad.end(),
               {"a:b", "C:", "nul", "Com1.txt", "x.", "x ", ".. ", "...", "a*", "con ."});
#endif
    const std::string data(5000, 'x');
    for (const std::string& name : bad) {
        EXPECT_EQ(
            receive(enter(name) + file("inner", data) + enter("sub") + kLeave + command(2) +
                    file("../outside", data) + kLeave + file(name, data) + kLeave + kLeave +
                    file("good", "ok") + enter("d") + file("in d", data) + kLeave + kLeave + kStop),
            "0 29 oftplib ..");
        EXPECT_EQ(printed, "Getting File:good\nGetting File:in d\n");
        EXPECT_TRUE(is_in("to")) << name;
        EXPECT_EQ(names_in("."), (Texts{"d", "good"})) << name;
        EXPECT_EQ(names_in("d"), Texts{"in d"}) << name;
        const std::string shown = name.empty() ? "" : " " + name.substr(0, 144);
        EXPECT_EQ(receive(enter(name) + kStop), "0 29 oftplib" + shown);
        EXPECT_EQ(receive(file(name, "") + kStop), "0 1 oftplib" + shown);
    }
}

TEST_F(RemoteFile, OnlyAShortCommandEndsTheReceiver) {
    go("to");
    // Commands of no meaning here, an empty payload, and a second chunk that is the stop.
    EXPECT_EQ(receive(command(8, 99) + command(11) + command(77) + file("none", "") + command(7) +
                      forged("two", 0) + command(8, 2) + "ab" + command(8, 32) + kStop),
              "0 ");
    EXPECT_EQ(read_bytes("two"), "ab");
#if !defined(_WIN32)
    EXPECT_EQ(fs::status("two").permissions(), fs::perms{0600});
    EXPECT_EQ(receive(file("x\x1B[2J", "") + kStop), "0 ");
    EXPECT_EQ(printed, "Getting File:x?[2J\n");
#endif
    const std::string ended = "-1 74 oxsockop recvdata error.";
    EXPECT_TRUE(receive(command(7) + forged("cut") + kStop).starts_with(ended));
    const std::string lie = command(7) + forged("lie") + command(8, 0xFFFFFFFF);
    EXPECT_TRUE(receive(lie + std::string(70'000, 'z')).starts_with(ended));
    EXPECT_NE(printed.find("bad cmd\n"), std::string::npos);
    EXPECT_EQ(read_bytes("lie"), std::string(65536, 'z'));
    const std::string whole = enter("d") + file("f", "abc") + kLeave + kStop;
    for (size_t size = 0; size < whole.size(); size += 13) {
        go("to");
        EXPECT_TRUE(receive(whole.substr(0, size)).starts_with(ended)) << size;
        EXPECT_EQ(fs::exists(folder_.path() / "to" / "d"), size >= 32 + 384) << size;
    }
}

int32_t name_is(int64_t first, int64_t second, const OXFILESTAT* record, void* context) {
    auto* names = static_cast<std::string*>(context);
    *names += record != nullptr ? std::to_string(first + second) + record->szName + "/"s : "null";
    return record == nullptr || record->szName == "stop"s ? -5 : 7;
}

std::string seen_by_peer;
int32_t see(OXSOCKET, void*, int32_t, const OXFILESTAT* record) {
    seen_by_peer = record != nullptr ? record->szName : "null";
    return seen_by_peer == "stop" ? -1 : 0;
}

TEST_F(RemoteFile, Walks) {
    fs::create_directories("a/b");
    write("a/b/stop", "123");
    PA list;
    PA_Init(&list, sizeof(OXFILESTAT), 0);
    EXPECT_EQ(ORVEX_FTP_RecDo("a", 0, 0, ORVEX_FTP_ACTION_LIST, &list), 1);
    EXPECT_EQ(list.nCount, 3);
    PA_Release(&list);
    std::string seen;
    EXPECT_EQ(ORVEX_FTP_RecDo("a\\b\\stop", 4, 1, name_is, &seen), 7);
    EXPECT_EQ(seen, "5/");
    EXPECT_EQ(ORVEX_FTP_RecDo("a", 4, 1, name_is, &seen), 1);  // that of null is dropped
    EXPECT_TRUE(seen.find("5b/") != std::string::npos && seen.ends_with("/null")) << seen;
    EXPECT_EQ(ORVEX_FTP_RecDo("a\\b", 4, 1, name_is, &seen), -1);
    EXPECT_TRUE(is_in("from"));
    EXPECT_EQ(error_of(ORVEX_FTP_RecDo("none", 0, 0, name_is, nullptr)), "23 oxfileop none");
    // Those for a peer leave by their path.
    const tuple<Text, int32_t, Text, Text> rows[] = {{".", 1, "from", "null"},
                                                     {"..", 1, "from", "null"},
                                                     {"a", 1, "from", "null"},
                                                     {"a\\b", -1, "from/a", "stop"},
                                                     {"none", 0, "from", "none"}};
    for (const auto& [path, result, ends_in, last] : rows) {
        go("from");
        EXPECT_EQ(NET_ORVEX_FTP_RecDo(0, path, nullptr, 0, see), result) << path;
        EXPECT_TRUE(is_in(ends_in)) << path;
        EXPECT_EQ(seen_by_peer, last);
    }
}

#if !defined(_WIN32)

TEST_F(RemoteFile, LinksOfTheSender) {
    write("f", "abc");
    fs::create_symlink("f", "to_file");
    fs::create_directory_symlink("..", "to_folder");
    fs::create_symlink("none", "to_nothing");
    EXPECT_EQ(put("to_folder"), "");
    EXPECT_EQ(taken_error(), "29 oftplib to_folder");
    const std::string all = put_all();
    taken_error();
    go("to");
    EXPECT_EQ(receive(all + kStop), "0 ");
    EXPECT_EQ(names_in("."), (Texts{"f", "to_file", "to_nothing"}));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status("to_file")));
    EXPECT_EQ(read_bytes("to_file"), "abc");
}

// What is a delimiter here is a letter to the kernel.
TEST_F(RemoteFile, NothingIsKnownByANameThatLeadsElsewhere) {
    fs::create_directories("d/sub");
    write("d\\sub", "x");
    std::string odd;
    const auto find = [](int64_t, int64_t, const OXFILESTAT* record, void* found) {
        const bool is_odd = record != nullptr && record->szName == "d\\sub"s;
        if (is_odd) *static_cast<std::string*>(found) = bytes_of(*record);
        return 1;
    };
    EXPECT_EQ(ORVEX_FTP_RecDo(".", 0, 0, find, &odd), 1);
    EXPECT_EQ(odd, forged("d\\sub", 0));
}

TEST_F(RemoteFile, ALinkThatComesMeanwhileIsNotFollowed) {
    fs::permissions("../outside", fs::perms{0444});
    go("to");
    const std::string place = fs::current_path() / "f";
    std::atomic<bool> over{false};
    std::thread swapper([&] {
        while (!over) {
            fs::create_symlink("../outside", place + "link");
            fs::rename(place + "link", place);
            write((place + "file").c_str(), "");
            fs::rename(place + "file", place);
        }
    });
    std::string all;
    for (int i = 0; i < 1000; ++i) all += file("f", "x");
    EXPECT_EQ(receive(all + kStop)[0], '0');
    over = true;
    swapper.join();
    EXPECT_EQ(fs::status("../outside").permissions(), fs::perms{0444});
}

TEST_F(RemoteFile, LinksOfTheReceiver) {
    go("to");
    fs::create_symlink("../outside", "f");
    fs::create_symlink("../made", "g");
    fs::create_directory_symlink("../from", "d");
    ASSERT_EQ(mkfifo("p", 0600), 0);
    const std::string data(200'000, 'x');
    EXPECT_EQ(receive(enter("d") + file("x", data) + kLeave + file("g", data) + file("f", data) +
                      file("p", data) + kStop),
              "0 1 oftplib p");
    EXPECT_EQ(receive(file("f", data) + kStop), "0 1 oftplib f");
    EXPECT_EQ(receive(enter("d") + kStop), "0 29 oftplib d");
    EXPECT_EQ(names_in("."), (Texts{"d", "f", "g", "p"}));
    EXPECT_TRUE(names_in("../from").empty());
}

// What can't be written is taken all the same.
TEST_F(RemoteFile, AFullDiskCostsItsFileAlone) {
    go("to");
    const std::string sent = file("large", std::string(100'001, 'x')) + file("small", "abc");
    {
        const FileSizeLimit limit(50'000);
        const std::string told_of = receive(sent + kStop);
        EXPECT_TRUE(told_of.starts_with("0 4 oftplib fd=")) << told_of;
    }
    EXPECT_EQ(fs::file_size("large"), 50'000U);
    EXPECT_EQ(read_bytes("small"), "abc");
}

#endif

}  // namespace
