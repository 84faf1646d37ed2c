#pragma once

#include "Host/Json/FileDescriptor.h"

#include <string>

namespace KelHost {

// Where a command writes its answer: a descriptor that takes an answer of any length at once, and
// so neither blocks the writer nor cuts the answer short. It lives in memory.
class AnswerFile {
  public:
    // Throws std::system_error when the system has no descriptor left.
    AnswerFile();

    int fd() const { return fd_.get(); }

    // All that was written so far. Throws std::system_error when it cannot be read.
    std::string text() const;

  private:
    FileDescriptor fd_;
};

} // namespace KelHost
