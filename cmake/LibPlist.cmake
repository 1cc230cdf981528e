# What the libplist found offers (every version from 2.2 to 2.7 builds): 2.3 replaced the
# plist_to_*_free calls with plist_mem_free, and 2.7 deprecated the dates counted from 2001 in favour
# of the Unix-date calls. Asked of the library itself, not guessed from its version;
# src/platform/PlistApi.h picks by the definitions that every user of PkgConfig::PLIST gets.
include(CheckCXXSymbolExists)
include(CMakePushCheckState)
# Asked again when a build folder meets another libplist (an upgrade, another PKG_CONFIG_PATH).
if(NOT "${PLIST_VERSION}" STREQUAL "${LV_PLIST_CHECKED_VERSION}")
    unset(LV_PLIST_HAS_MEM_FREE CACHE)
    unset(LV_PLIST_HAS_NEW_UNIX_DATE CACHE)
    unset(LV_PLIST_HAS_GET_UNIX_DATE CACHE)
endif()
set(LV_PLIST_CHECKED_VERSION "${PLIST_VERSION}" CACHE INTERNAL "")
cmake_push_check_state(RESET)
set(CMAKE_REQUIRED_QUIET ON)
set(CMAKE_REQUIRED_LIBRARIES PkgConfig::PLIST)
check_cxx_symbol_exists(plist_mem_free "plist/plist.h" LV_PLIST_HAS_MEM_FREE)
check_cxx_symbol_exists(plist_new_unix_date "plist/plist.h" LV_PLIST_HAS_NEW_UNIX_DATE)
check_cxx_symbol_exists(plist_get_unix_date_val "plist/plist.h" LV_PLIST_HAS_GET_UNIX_DATE)
cmake_pop_check_state()
if(LV_PLIST_HAS_MEM_FREE)
    set_property(TARGET PkgConfig::PLIST APPEND PROPERTY INTERFACE_COMPILE_DEFINITIONS LV_PLIST_HAS_MEM_FREE)
endif()
if(LV_PLIST_HAS_NEW_UNIX_DATE AND LV_PLIST_HAS_GET_UNIX_DATE)
    set_property(TARGET PkgConfig::PLIST APPEND PROPERTY INTERFACE_COMPILE_DEFINITIONS LV_PLIST_HAS_UNIX_DATE)
endif()
message(STATUS "libplist ${PLIST_VERSION}: plist_mem_free ${LV_PLIST_HAS_MEM_FREE}, "
    "Unix dates ${LV_PLIST_HAS_NEW_UNIX_DATE}")
