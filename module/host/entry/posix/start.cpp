// The shared object's constructor and destructor start and end the module.
#include "host/entry/CVynpakmApp.h"

namespace vynpack {
namespace {

__attribute__((constructor)) void startModule() { theApp().InitInstance(ModuleInstance::none); }

__attribute__((destructor)) void endModule() { theApp().ExitInstance(); }

}  // namespace
}  // namespace vynpack
