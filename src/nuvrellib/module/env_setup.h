// Creation and release of the environment record's mutexes and containers at import and at
// module free.
#pragma once

// Creates the eight mutexes (variable, constraint, SOS, name tables, defaults, message
// handlers, library, output), in that order.
void init_mutexes();
// Destroys them in the same order.
void destroy_mutexes();

// Creates the three dictionaries, the handler list and the side tables, and sets
// the flags to their import values. 0 on success, -1 with an exception set.
int env_create_containers();
// Releases everything env_create_containers made, and controls (each part may be missing).
void env_release_containers();
