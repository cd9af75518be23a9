# ccache, where it is installed. Clones of the tree share what one of them has compiled: paths below the
# tree count relative to it. The precompiled headers of the tests need what is said under SLOPPINESS: a
# compilation that reads one is looked up by the macros on its command line.
find_program(CCACHE ccache)
if(CCACHE AND (NOT CMAKE_CXX_COMPILER_LAUNCHER OR CMAKE_CXX_COMPILER_LAUNCHER STREQUAL "ccache"))
  set(CMAKE_CXX_COMPILER_LAUNCHER env
    CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
endif()
