// Holds off the cyclic garbage collector while a batch makes many objects that cannot form
// cycles yet: every object with a collector header counts towards the next collection, so a
// load of 100,000 rows would otherwise run dozens of collections over objects that are all
// still alive. The previous state comes back when the pause ends; a collector the user had
// switched off stays off.
#pragma once

#include <Python.h>

class CollectorPause {
 public:
  CollectorPause() {
#if PY_VERSION_HEX >= 0x030A0000
    was_enabled_ = PyGC_Disable() != 0;
#endif
  }
  ~CollectorPause() {
#if PY_VERSION_HEX >= 0x030A0000
    if (was_enabled_) PyGC_Enable();
#endif
  }
  CollectorPause(const CollectorPause &) = delete;
  CollectorPause &operator=(const CollectorPause &) = delete;

 private:
  bool was_enabled_ = false;
};
