/* The version of the tool in its file, on both systems; the numbers come from the project. */
#include "moltelib/program_version.h"

MOLTE_PROGRAM_VERSION(MOLTE_MAJOR, MOLTE_MINOR, MOLTE_PATCH, 0)
