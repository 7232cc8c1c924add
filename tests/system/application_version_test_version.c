/* The version of the test program, for both systems. */
#include "moltelib/program_version.h"

#define TEST_MINOR 65535
MOLTE_PROGRAM_VERSION(1, TEST_MINOR, 3, 40000)
