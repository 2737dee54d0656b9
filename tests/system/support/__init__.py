"""What the system tests are made of: namespaces, processes, scripted cards, the daemon's peer."""
