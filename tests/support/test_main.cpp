#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/rows.h"

std::string test_folder() {
    return TEST_FOLDER;
}

int main(int argc, char** argv) {
    int exit_code = 0;
    if (run_child_role(argc, argv, &exit_code)) return exit_code;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
