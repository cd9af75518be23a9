# header_checks compiles every header of the tree on its own, so that each includes what it needs.
# Headers that need Windows are compiled by the Windows build, all others by the native one; headers for
# the resource compiler alone (winresrc.h) by neither.
file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
  kernels/*.h analysis/*.h module/*.h vynhost/*.h tests/*.h bench/*.h)
set(header_sources "")
foreach(header IN LISTS headers)
  file(STRINGS ${header} of_windows REGEX "#include <(windows|commctrl|windowsx)\\.h>" LIMIT_COUNT 1)
  file(STRINGS ${header} of_resources REGEX "#include <winresrc\\.h>" LIMIT_COUNT 1)
  if(of_resources)
    continue()
  endif()
  if(header MATCHES "/windows/")
    set(of_windows TRUE)
  endif()
  if((of_windows AND WIN32) OR NOT (of_windows OR WIN32))
    string(MAKE_C_IDENTIFIER ${header} name)
    set(source ${CMAKE_BINARY_DIR}/header_checks/${name}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "#include \"@header@\"  // alone\n" @ONLY)
    list(APPEND header_sources ${source})
  endif()
endforeach()

if(header_sources)
  add_library(header_checks OBJECT EXCLUDE_FROM_ALL ${header_sources})
  target_link_libraries(header_checks PRIVATE
    vyn_options pocketfft boost_math cli11 tomlplusplus nlohmann_json gmock)
  target_include_directories(header_checks PRIVATE ${PROJECT_SOURCE_DIR} module module/blocks
    analysis analysis/include tests)
  target_compile_definitions(header_checks PRIVATE VYN_KERNEL_LEVEL=baseline)
  target_compile_options(header_checks PRIVATE -O0 -U_FORTIFY_SOURCE)
else()
  add_custom_target(header_checks)
endif()
