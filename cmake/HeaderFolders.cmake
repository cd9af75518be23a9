# Header-only libraries reach every build through a folder of links to just their headers: the
# cross compiler must never see the system's own include folder.
function(vyn_header_library name)  # name, then the links to make, each "link=target" below /usr/include
  set(folder ${CMAKE_BINARY_DIR}/headers/${name})
  foreach(pair IN LISTS ARGN)
    string(REPLACE "=" ";" pair ${pair})
    list(GET pair 0 link)
    list(GET pair 1 target)
    if(NOT EXISTS /usr/include/${target})
      message(FATAL_ERROR "/usr/include/${target} is missing: ./check installs what the build needs")
    endif()
    get_filename_component(parent ${folder}/${link} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    if(NOT EXISTS ${folder}/${link})
      file(CREATE_LINK /usr/include/${target} ${folder}/${link} SYMBOLIC)
    endif()
  endforeach()
  add_library(${name} INTERFACE)
  target_include_directories(${name} SYSTEM INTERFACE ${folder})
endfunction()

vyn_header_library(pocketfft pocketfft_hdronly.h=gemmi/third_party/pocketfft_hdronly.h)
target_compile_definitions(pocketfft INTERFACE POCKETFFT_NO_MULTITHREADING POCKETFFT_CACHE_SIZE=0
  # Its aligned_alloc sizes are no multiples of the alignment, which the sanitizer refuses.
  $<$<BOOL:${VYN_SANITIZE}>:POCKETFFT_NO_VECTORS>)
vyn_header_library(boost_math boost=boost)
vyn_header_library(cli11 CLI=CLI)
vyn_header_library(tomlplusplus toml++=toml++)
target_compile_definitions(tomlplusplus INTERFACE TOML_HEADER_ONLY=1)
vyn_header_library(nlohmann_json nlohmann=nlohmann)
