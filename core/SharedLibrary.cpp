#include "SharedLibrary.h"

#include <dlfcn.h>

namespace nbx {

// Bound as a linked library would be: lazily, into the program's global scope (a local scope
// made a direct print measurably slower).
SharedLibrary::SharedLibrary(const char* soname)
    : soname_(soname), handle_(dlopen(soname, RTLD_LAZY | RTLD_GLOBAL)) {
    if (handle_) return;
    const char* error = dlerror();
    why_ = error ? error : soname_ + " cannot be opened";
}

void* SharedLibrary::find(const char* name) {
    void* entry = handle_ ? dlsym(handle_, name) : nullptr;
    if (handle_ && !entry) why_ = soname_ + " lacks " + name;
    return entry;
}

}  // namespace nbx
