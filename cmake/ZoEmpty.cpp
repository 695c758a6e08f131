// Keeps a subsystem's object library non-empty while it has no sources of its own.
