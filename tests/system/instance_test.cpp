#include "support/test.h"

namespace {

CHILD_ROLE(takes_the_name) {
    tell_parent(std::to_string(ORVEX_CheckPreInstance(args[0].c_str())));
    hear_parent();
    ORVEX_ReleaseInstance();
    tell_parent("released");
    hear_parent();
    return 0;
}

std::string own_name() {
    return "moltelib-test-" + TempFolder().path().filename().string();
}

TEST(Instance, AnotherProcessFindsTheNameTakenUntilItIsGivenBack) {
    const std::string name = own_name();
    ChildProcess first("takes_the_name", {name});
    EXPECT_EQ(first.read_line(), "1");
    EXPECT_EQ(error_of(ORVEX_CheckPreInstance(name.c_str())), "115 oxsysutl");
    EXPECT_EQ(Char4To_uint4(ORVEX_GetErrData()->nSysErrNo), 183U);
    first.send_line("release");
    EXPECT_EQ(first.read_line(), "released");
    EXPECT_EQ(ORVEX_CheckPreInstance(name.c_str()), 1);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(ORVEX_ReleaseInstance(), 1);
    ChildProcess second("takes_the_name", {name});
    EXPECT_EQ(second.read_line(), "1");
    second.kill();
    second.wait();
    EXPECT_EQ(ORVEX_CheckPreInstance(name.c_str()), 1);
    ORVEX_ReleaseInstance();
}

TEST(Instance, OneNameForEachProcess) {
    const std::string name = own_name();
    EXPECT_EQ(ORVEX_CheckPreInstance(name.c_str()), 1);
    EXPECT_EQ(error_of(ORVEX_CheckPreInstance(name.c_str())), "115 oxsysutl");
    ORVEX_ReleaseInstance();  // has nothing to give back any more
    ChildProcess other("takes_the_name", {name});
    EXPECT_EQ(other.read_line(), "-1");
    for (const Text none : {Text{}, ""}) {
        EXPECT_EQ(error_of(ORVEX_CheckPreInstance(none)), "50 oxsysutl");
    }
    OXHANDLE event = ORVEX_EVENT_Create((name + "-event").c_str());
    EXPECT_EQ(error_of(ORVEX_CheckPreInstance((name + "-event").c_str())), "263 oxsysutl");
    ORVEX_EVENT_Release(event);
}

}  // namespace
