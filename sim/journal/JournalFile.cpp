#include "sim/journal/JournalFile.h"

#include <nlohmann/json.hpp>

#include "sim/journal/JournalReport.h"

namespace ponmgr::sim {

JournalFile::JournalFile(const std::string& path)
    : file("journal", path, OutputFile::Mode::append) {}

void JournalFile::write(const JournalEntry& entry) {
    file.write(journalRow(entry).dump() + '\n');
}

}  // namespace ponmgr::sim
