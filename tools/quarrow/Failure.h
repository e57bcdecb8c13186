#pragma once

#include <stdexcept>
#include <string>

namespace quarrow {

// Ends a command without its answer. The message is the line that people read after "quarrow: ": what was wrong and
// what to do.
class Failure : public std::runtime_error {
  public:
    // The exit status of the tool; 0 is success.
    enum Status : int {
        CannotAnswer = 1, // the machine has no answer, or it cannot be written where it should go
        WrongInput = 2,   // wrong usage, or a file or text that cannot be read
    };

    Failure(Status exitStatus, const std::string& message) : std::runtime_error(message), m_status(exitStatus) {}
    Status status() const { return m_status; }

  private:
    Status m_status;
};

} // namespace quarrow
