#pragma once

#include <string>

#include "sim/Wire.h"
#include "sim/journal/Journal.h"
#include "sim/journal/OutputFile.h"

namespace ponmgr::sim {

/// Writes the datagrams to a capture file of the classic kind, as raw IPv4 packets with times in
/// microseconds: those that came to a card and those that really left it.
class PcapFile final : public JournalSink {
public:
    /// Replaces the file. Throws std::runtime_error when it can't be written.
    explicit PcapFile(const std::string& path);

    void write(const JournalEntry& entry) override;
    void flush() override { file.flush(); }

private:
    OutputFile file;
    /// The packet being written; kept for its memory.
    Writer packet;
};

}  // namespace ponmgr::sim
