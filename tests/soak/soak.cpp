// The programs of a soak, one role each; scripts/soak starts, kills and judges them.
#include "soak.h"

#include <atomic>
#include <cstring>

#include "installation.h"

constexpr uint32_t kMagic = 0x6B616F73;

uint32_t sum_of(const void* data, size_t size) {
    uint32_t sum = 2166136261;
    for (size_t i = 0; i < size; ++i) sum = (sum ^ static_cast<const uint8_t*>(data)[i]) * 16777619;
    return sum;
}

Frame frame_of(uint32_t kind, int64_t number, const char* text) {
    Frame frame{kMagic, kind, number, {}, 0};
    ORVEX_strncpy(frame.text, text, sizeof frame.text);
    frame.sum = sum_of(&frame, offsetof(Frame, sum));
    return frame;
}

bool is_whole(const Frame& frame) {
    return frame.magic == kMagic && frame.sum == sum_of(&frame, offsetof(Frame, sum)) &&
           memchr(frame.text, '\0', sizeof frame.text) != nullptr;
}

bool receive(OXSOCKET socket, Frame* frame) {
    return ORVEX_SOCK_Recv(socket, frame, sizeof *frame) > 0 && is_whole(*frame);
}

Journal::Journal(const std::string& name)
    : lock_(name + " lock"),
      count_(name + " count"),
      file_(ORVEX_HFILE_CreateOpen((std::string(GetMainPath()) + "/journal").c_str(), 2, 0600)) {}

int64_t Journal::append(uint32_t kind, const char* text) {
    int64_t number = 0;
    if (!lock_.hold([&] { number = append_held(kind, text); })) {
        std::fprintf(stderr, "HANG: the journal isn't to be had\n");
    }
    return number;
}

int64_t Journal::append_held(uint32_t kind, const char* text) {
    constexpr int64_t record_size = sizeof(Frame);
    int64_t& count = *count_.operator->();
    const int64_t size = ORVEX_HFILE_Size(file_);
    if (size < 0) return 0;
    if (size != count * record_size) {
        MOLTE_PrintError("a journal of %lld bytes is cut\n", static_cast<long long>(size));
        count = size / record_size;
        if (ORVEX_HFILE_ChangeSize(file_, count * record_size) < 0) return 0;
    }
    Frame record = frame_of(kind, count + 1, text);
    if (injected("torn", 200)) record.text[0] ^= 1;
    if (count % 10 == 0) {  // slow where its death does most harm
        ORVEX_HFILE_WriteS(file_, &record, count * record_size, record_size / 2);
        ORVEX_SleepMicro(5'000);
    }
    if (ORVEX_HFILE_WriteS(file_, &record, count * record_size, record_size) != record_size) {
        ORVEX_HFILE_ChangeSize(file_, count * record_size);
        return 0;
    }
    return ++count;
}

bool injected(const char* fault, int every) {
    static const char* const wanted = std::getenv("SOAK_INJECT");
    static std::atomic<int> count{0};
    return wanted != nullptr && std::strcmp(wanted, fault) == 0 && ++count % every == 0;
}

// Brings the library up, with the text log and a time limit for each transfer.
static bool bring_up(const char* installation) {
    const char* seconds = std::getenv("SOAK_PATIENCE");
    g_glbsockopt.nServerRecvTimeOut = g_glbsockopt.nServerSendTimeOut = 10;
    if (seconds != nullptr) g_glbsockopt.nClientRecvTimeOut = std::atoi(seconds);
    return make_installation(installation) && ORVEX_BASE_InitVar() > 0 &&
           OTXTHOOK_TERRLOG_InstallHook(OXMSG_TO_TEXT_LOG, 1) > 0;
}

void wait_for_end() {
    while (std::getchar() != EOF) {
    }
    g_stBv.bStopAll = 1;
}

// use: soak ROLE INSTALLATION NAME PORT|PORTFILE [PASSWORD]
int main(int argc, char** argv) {
    if (argc < 5) return 2;
    const std::string role = argv[1];
    const std::string name = argv[3];
    const auto port = static_cast<int32_t>(std::strtol(argv[4], nullptr, 10));
    const int64_t password = argc > 5 ? std::strtoll(argv[5], nullptr, 10) : 0;
    if (!bring_up(argv[2])) return fail("The library can't be brought up.");
    int result = 2;
    if (role == "serve") result = serve(name, argv[4], password);
    if (role == "work") result = work(name, port, password);
    if (role == "ask") result = ask(port, name);
    ORVEX_BASE_ReleaseVar();
    return result;
}
