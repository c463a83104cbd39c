// NumPy C API for every translation unit of the engine. Exactly one file
// (numpy_api.cpp) defines QUILLMARSH_IMPORT_ARRAY and owns the API table.
#pragma once

#include <Python.h>

#define PY_ARRAY_UNIQUE_SYMBOL QUILLMARSH_ARRAY_API
#ifndef QUILLMARSH_IMPORT_ARRAY
#define NO_IMPORT_ARRAY
#endif
#define NPY_NO_DEPRECATED_API NPY_1_22_API_VERSION
#include <numpy/arrayobject.h>
