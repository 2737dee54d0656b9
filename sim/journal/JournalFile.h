#pragma once

#include <string>

#include "sim/journal/Journal.h"
#include "sim/journal/OutputFile.h"

namespace ponmgr::sim {

/// Appends the journal to a file, one JSON object a line.
class JournalFile final : public JournalSink {
public:
    /// Throws std::runtime_error when the file can't be written.
    explicit JournalFile(const std::string& path);

    void write(const JournalEntry& entry) override;
    void flush() override { file.flush(); }

private:
    OutputFile file;
};

}  // namespace ponmgr::sim
