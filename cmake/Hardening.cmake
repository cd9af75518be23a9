# What makes a mistake of memory harder to use, beside the stack protector of the common options. Natively
# addresses of functions are bound once, before anything runs, and then read-only; calls of the C library
# with a known size are checked. On Windows the linker's defaults are these; tools/check-binaries holds both
# systems to them.
if(NOT WIN32 AND NOT VYN_SANITIZE)
  # Needs optimisation: the tests, which have none, take it back by -U_FORTIFY_SOURCE.
  add_compile_options("$<$<CONFIG:Release>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>")
  target_link_options(vyn_options INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()
