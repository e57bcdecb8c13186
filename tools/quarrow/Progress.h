#pragma once

#include <cstddef>

namespace quarrow {

// A bar on standard error while something takes a while; nothing at all unless that is a terminal. It is erased at the
// end.
class Progress {
  public:
    Progress(const char* doing, std::size_t steps);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void step(); // one more is done
    void reach(std::size_t done);

  private:
    void draw();

    const char* m_doing;
    std::size_t m_steps;
    std::size_t m_done = 0;
    std::size_t m_drawn = 0; // columns
    std::size_t m_shown = 0; // thousandths done, when it was drawn
    bool m_visible;
};

} // namespace quarrow
