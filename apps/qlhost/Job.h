// A job as a JSON file: one object whose keys are those of the command line, without their dashes.
//
//     { "clip": "frames", "limit": 384, "rate": "29.97df", "english": true }
//
// What stands on the command line too wins there. A key that does not exist, or has no plain value, is named.
#ifndef QLHOST_JOB_H
#define QLHOST_JOB_H

#include <CLI/CLI.hpp>

namespace qlhost {

/// Adds the option `--job` to `app`, which must outlive the parsing.
void AcceptJob(CLI::App& app);

}  // namespace qlhost

#endif
