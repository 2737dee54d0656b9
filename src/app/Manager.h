#pragma once

#include <array>
#include <cstddef>

#include "poncard/PONCardTask.h"

namespace ponmgr {

class APIData;

/// Owns the eight slots of the chassis, starts them, and routes every command to its slot.
class Manager {
public:
    static constexpr std::size_t kSlots = 8;

    /// The single instance, made at the first call and never deleted.
    static Manager* getInstance();

    Manager();
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;
    virtual ~Manager();

    /// Reports everything off-line, starts slots 1 to 8, and asks for their addresses. Initial
    /// thread, once.
    void start();

    /// Joins the threads of all slots, which never end.
    void waitForFinish();

    /// Queues the command in `request`, which stays the caller's, on the slot it names. Called on
    /// the IPC receive thread. An Exception is printed and the command dropped; a "slot_id" that is
    /// no number throws std::invalid_argument or std::out_of_range. Nothing is ever answered.
    void handlerApiRequest(APIData* request);

    /// Tells the database manager that every OLT and every ONU is off-line. Failures are printed.
    void doReportAllOffline();
    /// Asks the database manager for every slot's addresses. Failures are printed.
    void doReportGetAllSlotIps();

    /// Slot 1 to 8. Throws "Slot (n) not found" for any other number.
    PONCardTask& getSlot(int number);

private:
    std::array<PONCardTask, kSlots> slots;
};

}  // namespace ponmgr
