#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "support/OtherUsers.h"

namespace ponmgr::test {

/// A process that has sent one message, or tried to.
struct SentBy {
    pid_t process = 0;
    /// 0, or why the message could not be sent, as in errno.
    int error = 0;
};

/// Sends `text`, with a descriptor passed along if `withDescriptor`, to `path` from a process of
/// `user`, and waits for the end of that process.
SentBy sendAs(uid_t user, const std::string& path, const std::string& text,
              bool withDescriptor = false);

/// While it lives, this process works as `user`, in no group of root's.
class WorkingAs {
public:
    explicit WorkingAs(uid_t user);
    WorkingAs(const WorkingAs&) = delete;
    WorkingAs& operator=(const WorkingAs&) = delete;
    ~WorkingAs();

private:
    std::vector<gid_t> groupsBefore;
};

}  // namespace ponmgr::test
