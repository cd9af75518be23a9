# Kernels that gain from wide registers are compiled once per instruction-set level from one source
# (name: *_kernels.cpp) and chosen when the program runs: kernels/level.h. VYN_KERNEL_LEVEL names the
# table that a copy defines. A kernel source calls nothing but what it defines itself in its unnamed
# namespace, or includes from kernels/: a library function compiled for a wide level could otherwise
# end up serving a machine that lacks it.
set(VYN_KERNEL_LEVELS baseline avx2 avx512)
set(VYN_KERNEL_FLAGS_baseline "")
set(VYN_KERNEL_FLAGS_avx2 -mavx2 -mfma)  # fused only where written: -ffp-contract=off
set(VYN_KERNEL_FLAGS_avx512 -mavx512f -mavx512dq -mavx512bw -mavx512vl -mprefer-vector-width=512)
if(WIN32)  # the platform's stack is only 16-byte aligned
  list(APPEND VYN_KERNEL_FLAGS_avx2 -Wa,-muse-unaligned-vector-move)
  list(APPEND VYN_KERNEL_FLAGS_avx512 -Wa,-muse-unaligned-vector-move)
endif()

# vyn_kernel_sources(<target> INCLUDES <folders> SOURCES <files>) adds the files, once per level.
function(vyn_kernel_sources target)
  cmake_parse_arguments(arg "" "" "INCLUDES;SOURCES" ${ARGN})
  if(NOT arg_SOURCES)
    return()
  endif()
  foreach(level IN LISTS VYN_KERNEL_LEVELS)
    add_library(${target}_${level} OBJECT ${arg_SOURCES})
    target_link_libraries(${target}_${level} PRIVATE vyn_options)
    target_include_directories(${target}_${level} PRIVATE ${arg_INCLUDES})
    target_compile_definitions(${target}_${level} PRIVATE VYN_KERNEL_LEVEL=${level})
    set_target_properties(${target}_${level} PROPERTIES VYN_KERNELS ON)
    # No stack protector: kernels keep arrays of fixed size there, which stand in for registers; the
    # guard makes the compiler write and read them.
    # No -fipa-ra: what the compiler knows of a function's registers would let another one call it, and so
    # end, with the upper halves of wide registers in use; all code outside kernels then waits (60 ns).
    target_compile_options(${target}_${level} PRIVATE ${VYN_KERNEL_FLAGS_${level}} -fno-stack-protector
      $<$<CXX_COMPILER_ID:GNU>:-fno-ipa-ra>)
    vyn_fuzzed(${target}_${level})
    target_link_libraries(${target} PRIVATE ${target}_${level})
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_${level}>)
  endforeach()
endfunction()
