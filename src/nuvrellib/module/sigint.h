// The SIGINT guard around optimisation calls: while the library runs, the interpreter's
// keyboard-interrupt handler is set aside so that the library can install its own. Nested
// guarded calls (a callback that solves another problem) touch the signal action only at
// the outermost level. Used only with the interpreter lock held.
#pragma once

void setSigIntHandler();
void resetSigIntHandler();
