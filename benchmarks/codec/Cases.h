#pragma once

namespace ponmgr::bench {

// Each registers its cases. A case NAME has its floor, on the same bytes, as NAME/floor.

void registerRequests();
void registerResponses();
void registerLinkLists();
void registerAlarmRecords();

}  // namespace ponmgr::bench
