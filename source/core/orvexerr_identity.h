// Who reports: the machine's name and the environment line that go into every error record. Both
// are kept ready, so that a report costs two copies.
#pragma once

#include "moltelib/format/error_record.h"

namespace molte {

// Puts the computer name into g_stBv anew; on failure it is empty there, and reported.
void remember_host_name();

// Copies the known name to a record. When it is not known yet it is looked up, for the next record.
void stamp_host_name(char (&field)[sizeof ORVEX_ERRDATA::szHostName]);

// The line of ORVEX_GetEnvString, cut to the field: without a terminator when it fills it.
void stamp_environment(char (&field)[sizeof ORVEX_ERRDATA::szEnv]);

}  // namespace molte
