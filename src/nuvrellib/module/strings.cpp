// str/bytes to C string conversion.
#include "module/strings.h"

#include <cstring>

#include "module/allocator.h"

Py_ssize_t pyStrLen(PyObject *obj) {
  if (obj == nullptr) return -1;
  if (PyUnicode_Check(obj)) {
    Py_ssize_t len;
    if (PyUnicode_AsUTF8AndSize(obj, &len) != nullptr) return len;
    PyErr_Clear();
    PyObject *ascii = PyUnicode_AsASCIIString(obj);
    if (ascii == nullptr) {
      PyErr_Clear();
      return -1;
    }
    len = PyBytes_GET_SIZE(ascii);
    Py_DECREF(ascii);
    return len;
  }
  if (PyBytes_Check(obj)) return PyBytes_GET_SIZE(obj);
  return -1;
}

const char *pyStrToStr(PyObject *obj, char **buffer_address, PyObject **temp_address) {
  if (obj == nullptr) return nullptr;
  const char *text = nullptr;
  Py_ssize_t len = 0;
  PyObject *temp = nullptr;
  if (PyUnicode_Check(obj)) {
    text = PyUnicode_AsUTF8AndSize(obj, &len);
    if (text == nullptr) {
      // Lone surrogates cannot be UTF-8: fall back to an ASCII copy that the caller owns.
      PyErr_Clear();
      temp = PyUnicode_AsASCIIString(obj);
      if (temp == nullptr) return nullptr;
      text = PyBytes_AS_STRING(temp);
      len = PyBytes_GET_SIZE(temp);
    }
  } else if (PyBytes_Check(obj)) {
    text = PyBytes_AS_STRING(obj);
    len = PyBytes_GET_SIZE(obj);
  } else {
    return nullptr;
  }

  if (buffer_address != nullptr) {
    if (nvo_MemoryAllocator_Realloc_Untyped(nvo_MemoryAllocator_DefaultHeap, buffer_address,
                                            static_cast<size_t>(len) + 1) != 0) {
      Py_XDECREF(temp);
      PyErr_NoMemory();
      return nullptr;
    }
    std::memcpy(*buffer_address, text, static_cast<size_t>(len) + 1);
    text = *buffer_address;
    // The copy no longer needs the temporary.
    Py_XDECREF(temp);
    temp = nullptr;
  }
  if (temp != nullptr && temp_address == nullptr) {
    // The text lives in the temporary: without a way to hand it over there is no result.
    Py_DECREF(temp);
    return nullptr;
  }
  if (temp_address != nullptr) *temp_address = temp;
  return text;
}
