#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace ponmgr::test {

/// A function in a process of its own, for threads that never end and failures that end a process.
/// To be made by a process without other threads. The child begins when it is told to, so that it
/// inherits nothing that the test makes in between; the destructor kills what still runs.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<void()>& body);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    void begin();

    /// Waits until the standard output so far contains `text`; false when the child has closed it
    /// without, or too much time has passed.
    bool prints(const std::string& text);

    /// The complete lines of the standard output so far that begin with `start`, in order, joined.
    std::string linesFrom(const std::string& start) const;

    /// Waits for the end by itself and returns the status of waitpid; -1 when there is no end.
    int waitForEnd();

    /// Kills the child and takes what it has written.
    void stop();

    pid_t getNumber() const { return child; }
    const std::string& getOutput() const { return output.text; }
    /// Complete once the child has ended.
    const std::string& getErrors() const { return errors.text; }

private:
    struct Pipe {
        int descriptor = -1;
        bool closed = false;
        std::string text;
        void read();
    };

    void runChild(const std::function<void()>& body, int gateEnd, int outputEnd, int errorsEnd);
    bool collectUntil(const std::function<bool()>& predicate);

    pid_t child = -1;
    int gate = -1;
    Pipe output;
    Pipe errors;
};

}  // namespace ponmgr::test
