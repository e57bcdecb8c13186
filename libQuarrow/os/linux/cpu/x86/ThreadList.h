#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace libQuarrow::cpu {

// The threads of this process, as its process file system lists them. Nothing here allocates memory.
class ThreadList {
  public:
    ThreadList() : m_folder(open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}
    ~ThreadList() {
        if (m_folder >= 0) {
            close(m_folder);
        }
    }
    ThreadList(const ThreadList&) = delete;
    ThreadList& operator=(const ThreadList&) = delete;

    // Whether a thread of that number belongs to this process. The numbers listed are those of another process where
    // the process file system is of another PID namespace, and a number is given again after its thread has ended.
    static bool isOurs(pid_t thread) { return tgkill(getpid(), thread, 0) == 0; }

    enum Answer { Failed, Partial, Whole };

    // Calls `visit` with each thread of this process until it answers false. Failed when it did, and when the threads
    // cannot be listed. Partial when some may have been left out: the kernel ends its list, or goes on at another
    // place, where the thread that it told last has ended meanwhile.
    template <class Visit>
    Answer forEach(Visit visit) const {
        alignas(dirent64) char buffer[32768]; // a thousand threads at once
        ssize_t size = 0;
        pid_t last = 0;
        bool whole = true;
        while ((size = getdents64(m_folder, buffer, sizeof buffer)) > 0) {
            whole = whole && (last == 0 || isOurs(last));
            for (ssize_t offset = 0; offset < size;) {
                const auto& entry = *reinterpret_cast<const dirent64*>(buffer + offset);
                const auto thread = static_cast<pid_t>(std::strtol(entry.d_name, nullptr, 10));
                if (thread > 0 && isOurs(thread) && !visit(thread)) {
                    return Failed;
                }
                last = thread;
                offset += entry.d_reclen;
            }
        }
        return size != 0 ? Failed : whole && isOurs(last) ? Whole : Partial;
    }

  private:
    const int m_folder; // negative when it cannot be opened
};

} // namespace libQuarrow::cpu
