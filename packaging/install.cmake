# Where the files go, by each system's habits:
#
#     Linux                                   Windows
#     bin/vynhost                             vynhost.exe
#     lib/vynpack/VYNPACKM.so                 VYNPACKM.dll
#     lib/vynpack/Analysis/ovanlys.so         Analysis\ovanlys.dll
#     lib/vynpack/libvynhost.so               libvynhost.dll
#     include, lib/cmake/Vynpack              include, lib\cmake\Vynpack
#     share/doc/vynpack, share/man, ...       docs, examples
#
# The module lies where a shared directory is looked into: the library in the folder Analysis beside it. The
# program finds the module by its own place (VYN_MODULE_FOLDER), so that the whole tree may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
if(WIN32)
  set(program_folder .)
  set(module_folder .)
  set(document_folder .)
  set(include_folder include)
  set(config_folder lib/cmake/Vynpack)
else()
  set(program_folder ${CMAKE_INSTALL_BINDIR})
  set(module_folder ${CMAKE_INSTALL_LIBDIR}/vynpack)
  set(document_folder ${CMAKE_INSTALL_DOCDIR})
  set(include_folder ${CMAKE_INSTALL_INCLUDEDIR})
  set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Vynpack)
endif()
file(RELATIVE_PATH from_program_to_module /prefix/${program_folder} /prefix/${module_folder})
if(from_program_to_module STREQUAL "")
  set(from_program_to_module .)
endif()
target_compile_definitions(module_host PRIVATE VYN_MODULE_FOLDER="${from_program_to_module}")

# --- What runs ---------------------------------------------------------------------------------------
install(TARGETS vynhost RUNTIME DESTINATION ${program_folder} COMPONENT runtime)
install(TARGETS VYNPACKM LIBRARY DESTINATION ${module_folder} COMPONENT runtime)
install(TARGETS ovanlys LIBRARY DESTINATION ${module_folder}/Analysis COMPONENT runtime)
# Other languages load it by its place; on Windows a shared library is a program's part.
install(TARGETS libvynhost LIBRARY DESTINATION ${module_folder} COMPONENT runtime
  RUNTIME DESTINATION ${module_folder} COMPONENT runtime)

# --- What is read: the pages for users; those for whoever works on it stay with the sources --------------
install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/SECURITY.md DESTINATION ${document_folder} COMPONENT runtime)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${document_folder} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${document_folder} COMPONENT runtime
  FILES_MATCHING PATTERN *.md PATTERN *.png PATTERN *.svg PATTERN *.ipynb
  PATTERN tools EXCLUDE PATTERN decisions* EXCLUDE PATTERN house.* EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${document_folder} COMPONENT runtime
  FILES_MATCHING PATTERN *.toml PATTERN *.wav PATTERN host EXCLUDE)
if(NOT WIN32)
  install(PROGRAMS ${PROJECT_SOURCE_DIR}/examples/commands DESTINATION ${document_folder}/examples COMPONENT runtime)
  # As the program itself writes them.
  set(pages ${CMAKE_CURRENT_BINARY_DIR}/pages)
  foreach(language en de)
    add_custom_command(OUTPUT ${pages}/${language}/vynhost.1 ${pages}/${language}/vynhost-diagram.5 ${pages}/${language}/vynhost.bash
      COMMAND vynhost help --write-pages ${pages}/${language} --lang ${language}
      DEPENDS vynhost VERBATIM)
    list(APPEND written ${pages}/${language}/vynhost.1)
    set(folder ${CMAKE_INSTALL_MANDIR}/${language})
    if(language STREQUAL en)
      set(folder ${CMAKE_INSTALL_MANDIR})
    endif()
    install(FILES ${pages}/${language}/vynhost.1 DESTINATION ${folder}/man1 COMPONENT runtime)
    install(FILES ${pages}/${language}/vynhost-diagram.5 DESTINATION ${folder}/man5 COMPONENT runtime)
  endforeach()
  add_custom_target(manual_pages ALL DEPENDS ${written})
  install(FILES ${pages}/en/vynhost.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME vynhost COMPONENT runtime)
else()
  add_custom_target(manual_pages)  # where there is no man, vynhost help says the same
endif()

# --- What others build with: find_package(Vynpack) ---------------------------------------------------
add_library(host_interface INTERFACE)
add_library(ovanlys_functions INTERFACE)
set_target_properties(ovanlys_functions PROPERTIES EXPORT_NAME ovanlys)
foreach(target host_interface ovanlys_functions)
  target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${include_folder}>)
endforeach()
target_compile_features(ovanlys_functions INTERFACE cxx_std_17)
install(TARGETS host_interface ovanlys_functions EXPORT VynpackTargets)
install(EXPORT VynpackTargets NAMESPACE Vynpack:: DESTINATION ${config_folder} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/vynhost/interface/include/vynpack ${PROJECT_SOURCE_DIR}/vynhost/library/include/vynpack
  ${PROJECT_SOURCE_DIR}/analysis/include/ovanlys
  DESTINATION ${include_folder} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/host DESTINATION ${document_folder}/examples COMPONENT development)

configure_package_config_file(cmake/VynpackConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/VynpackConfig.cmake
  INSTALL_DESTINATION ${config_folder} PATH_VARS module_folder)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/VynpackConfigVersion.cmake
  COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/VynpackConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/VynpackConfigVersion.cmake
  DESTINATION ${config_folder} COMPONENT development)
