// Those who ask the server. What they were told is done they keep, a line each, on standard output:
// NUMBER TEXT of a record of the journal.
#include <random>
#include <thread>
#include <vector>

#include "soak.h"

namespace {

constexpr int kClients = 16, kCards = 40;

// A refusal is an answer too.
bool ask_number(OXSOCKET server, const std::string& text) {
    Frame answer;
    if (!send(server, frame_of(kCard, 0, text.c_str())) || !receive(server, &answer)) return false;
    if (answer.number > 0) {
        std::printf("%lld %s\n", static_cast<long long>(answer.number), answer.text);
        std::fflush(stdout);
    }
    if (answer.number == 0) ORVEX_SleepMicro(200'000);
    return answer.kind == kCard && answer.text == text;
}

bool set_parameter(OXSOCKET server, const std::string& value, bool in_file) {
    MOLTE_PARAMNETITEM record{};
    ORVEX_strncpy(record.szName, "DefaultUserName", sizeof record.szName);
    record.nType = MOLTE_PARAM_TEXT;
    ORVEX_strncpy(reinterpret_cast<char*>(record.abyValue), value.c_str(), sizeof record.abyValue);
    Frame answer;
    if (!send(server, frame_of(kParameter, in_file ? 1 : 0, "")) ||
        ORVEX_SOCK_Send(server, &record, sizeof record) < 0 || !receive(server, &answer) ||
        ORVEX_SOCK_Recv(server, &record, sizeof record) < 0) {
        return false;
    }
    const auto* now = reinterpret_cast<const char*>(record.abyValue);
    if (now != value) std::fprintf(stderr, "LOST: a parameter that was set\n");
    return record.bValid == 1;
}

void be_client(int32_t port, const std::string& name, uint32_t place) {
    std::mt19937 random(sum_of(name.data(), name.size()) + place);
    const Socket server(ORVEX_SOCK_ClientOpen("127.0.0.1", port));
    bool going = server.valid();
    for (int i = 0; going && g_stBv.bStopAll == 0; ++i) {
        if (place == 0 && i % 8 == 7) {
            going = set_parameter(server.number, "clerk-" + std::to_string(i), i % 16 == 7);
        } else {
            going = ask_number(server.number, name + "." + std::to_string(place) + "." +
                                                  std::to_string(i) + "/A-" +
                                                  std::to_string(random() % kCards));
        }
        ORVEX_SleepMicro(50'000 + static_cast<int32_t>(random() % 100'000));
    }
    if (!going) {
        std::fprintf(stderr, "FAILED: a client's exchange\n");
        ORVEX_Err_fPrint(stderr);
    }
    MOLTE_THDATA_FreeData();
}

}  // namespace

int ask(int32_t port, const std::string& name) {
    std::vector<std::thread> clients;
    for (uint32_t i = 0; i < kClients; ++i) clients.emplace_back(be_client, port, name, i);
    wait_for_end();
    for (std::thread& client : clients) client.join();
    return 0;
}
