# A faster linker and a compiler cache where the machine has them; the build is the same without.
option(LV_FAST_LINKER "Link with lld or mold when installed (not on a Mac: ld64 is fast)" ON)
if(LV_FAST_LINKER AND NOT APPLE)
    include(CheckLinkerFlag)
    foreach(linker lld mold)
        check_linker_flag(CXX "-fuse-ld=${linker}" LV_HAVE_LINKER_${linker})
        if(LV_HAVE_LINKER_${linker})
            add_link_options(-fuse-ld=${linker})
            break()
        endif()
    endforeach()
endif()

option(LV_CCACHE "Compile through ccache when installed" ON)
find_program(LV_CCACHE_PROGRAM ccache)
if(LV_CCACHE AND LV_CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # The precompiled headers are cached too, which ccache must be told it may do. Paths are taken
    # relative to the sources, so that build folders beside each other (build, build-asan, CI's
    # other builds) share what they compile alike.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=true ${LV_CCACHE_PROGRAM})
endif()
