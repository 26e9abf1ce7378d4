// How the packer fails: with a sentence and an exit code.
#pragma once

#include <stdexcept>
#include <string>

namespace Packer {

enum ExitCode : int {
    EXIT_OK = 0,
    EXIT_USAGE = 1,
    EXIT_FILES = 2,   ///< a file cannot be read or written, or there is no memory
    EXIT_DAMAGED = 3, ///< the archive is no archive, incomplete or altered
    EXIT_REFUSED = 4, ///< something would be overwritten, or land outside of the target folder
    EXIT_PASSWORD = 5 ///< missing or wrong
};

class Failure : public std::runtime_error {
public:
    Failure(ExitCode exitCode, const std::string& message) : std::runtime_error(message), code(exitCode) {}

    ExitCode code;
};

} // namespace Packer
