#pragma once

namespace ponmgr::test {

/// Moves the calling process into its own network and mount namespace: loopback is up and empty of
/// other users' ports, /tmp is an empty tmpfs of its own. What lies below `keep` stays visible even
/// when it lies below /tmp. Without root a user namespace of its own makes it root in there.
/// To be called before the process has started a thread. Throws std::system_error.
void enterPrivateNamespace(const char* keep);

}  // namespace ponmgr::test
