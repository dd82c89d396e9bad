// The program's surroundings on Windows: its directory from the module's own path, and the
// single-instance test as a named mutex of the session, owned while the program runs.
// Not thread-safe; one owner at a time.
#ifndef KETRA_PLATFORM_FORMS_APP_WIN32_H_
#define KETRA_PLATFORM_FORMS_APP_WIN32_H_

#include <memory>
#include <string>

#include "platform/forms/services.h"

namespace ketra::forms {

// The name of the mutex that every running instance owns.
inline constexpr const char* kInstanceMutexName = "Local\\Ketra.Panel.Instance";

// An empty app_path stands for the directory of the running executable. The instance mutex is
// taken at once and kept for the life of the returned object. PrevInstance() is true while
// another program owns the mutex; an instance that ended leaves it to this one.
std::unique_ptr<AppServices> MakeWin32App(std::string app_path);

// The directory of the running executable (GetModuleFileNameA), without a separator at the end.
std::string ModuleDirectory();

}  // namespace ketra::forms

#endif  // KETRA_PLATFORM_FORMS_APP_WIN32_H_
