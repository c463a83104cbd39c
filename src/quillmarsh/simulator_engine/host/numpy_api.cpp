// Owns the NumPy C API table (see numpy_api.hpp).
#define QUILLMARSH_IMPORT_ARRAY
#include "host/numpy_api.hpp"

namespace qm {

bool import_numpy_api() {
    if (_import_array() < 0) return false;
    return true;
}

}  // namespace qm
