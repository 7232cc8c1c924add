#include "display/x11.h"

#include <poll.h>

#include <cerrno>
#include <mutex>

#include "platform/critical_section.h"
#include "platform/last_error.h"

namespace platform {

namespace {

constinit Lock loading;

// Displays of ours that the calling thread has open: it uses no others meanwhile.
thread_local int open_displays = 0;

// The library would end the process for a display that is lost, and for a request that the server
// refuses. Its handlers are common to the whole process: other displays go to those before ours.
using Loss = int (*)(Display*);
using Refusal = int (*)(Display*, void* error);
Loss loss_before = nullptr;
Refusal refusal_before = nullptr;

int on_loss(Display* display) {
    return open_displays > 0 || loss_before == nullptr ? 0 : loss_before(display);
}

int on_refusal(Display* display, void* error) {
    return open_displays > 0 || refusal_before == nullptr ? 0 : refusal_before(display, error);
}

constexpr const char* kGoOnBehindLoss = "XSetIOErrorExitHandler";

void go_on(Display*, void*) {}

// Versions before 1.8 must be told that there are threads, before all else.
void prepare() {
    x11.call<int>("XInitThreads");
    loss_before = x11.call<Loss>("XSetIOErrorHandler", &on_loss);
    refusal_before = x11.call<Refusal>("XSetErrorHandler", &on_refusal);
}

}  // namespace

constinit DisplayLibrary x11("libX11.so.6");
constinit DisplayLibrary x11_test("libXtst.so.6");

bool DisplayLibrary::load() {
    if (library_ == nullptr) library_ = dlopen(file_, RTLD_NOW | RTLD_LOCAL);
    return library_ != nullptr;
}

Display* open_display() {
    {
        const std::lock_guard guard(loading);
        static bool prepared = false;
        if (!prepared && x11.load()) {
            prepare();
            prepared = true;
        }
    }
    ++open_displays;
    Display* const display =
        x11.load() ? x11.call<Display*>("XOpenDisplay", static_cast<const char*>(nullptr))
                   : nullptr;
    if (display == nullptr) {
        --open_displays;
        SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    x11.call<void>(kGoOnBehindLoss, display, &go_on, static_cast<void*>(nullptr));
    return display;
}

void close_display(Display* display) {
    x11.call<int>("XCloseDisplay", display);
    --open_displays;
}

bool is_lost(Display* display, int milliseconds) {
    pollfd connection{x11.call<int>("XConnectionNumber", display), POLLIN, 0};
    while (poll(&connection, 1, milliseconds) < 0) {
        if (errno != EINTR) return true;
    }
    return (connection.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

void keep_lost_display(Display* display) {
    static std::atomic<Display*> last_lost{nullptr};
    last_lost = display;
    --open_displays;
}

}  // namespace platform
