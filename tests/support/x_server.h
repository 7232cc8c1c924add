// An X server of the test's own.
#pragma once

#include "support/common.h"

// The display from here on; kind is "WIDTHxHEIGHTxDEPTH".
class XServer : public Pinned {
 public:
    explicit XServer(const std::string& kind)
        : server_(popen(
              ("echo $$; exec Xvfb -displayfd 1 -screen 0 " + kind + " -r 2>/dev/null").c_str(),
              "r")) {
        int number = -1;
        up = std::fscanf(server_, "%d %d", &process_, &number) == 2;
        setenv("DISPLAY", (":" + std::to_string(number)).c_str(), 1);
    }
    ~XServer() { end(); }
    void end() {
        if (server_ == nullptr) return;
        kill(process_, SIGTERM);
        pclose(std::exchange(server_, nullptr));
    }
    bool up;

 private:
    FILE* server_;
    pid_t process_ = 0;
};
