// The control and attribute name tables (ctrl_table, attr_table) built from the library's own
// lists, and the module-level defaults they seed.
#pragma once

// Fills both tables and the module-level controls' dictionary. With require 0 a library that
// cannot be started leaves the tables empty without error. 0 on success, -1 with an exception.
int ctrl_attr_fill_typeobj(int require);
