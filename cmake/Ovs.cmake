# The Open vSwitch library is built by scripts/setup.sh from Debian's source
# package; its configure step records the extra libraries it linked against.
set(_ovs_lib "${ZEF_OVS_DIR}/lib/.libs/libopenvswitch.a")
if(NOT EXISTS "${_ovs_lib}")
    message(FATAL_ERROR "libopenvswitch.a not found under ${ZEF_OVS_DIR}: run scripts/setup.sh")
endif()
file(STRINGS "${ZEF_OVS_DIR}/Makefile" _ovs_libs_line REGEX "^LIBS = ")
string(REGEX REPLACE "^LIBS = " "" _ovs_libs "${_ovs_libs_line}")
separate_arguments(_ovs_libs)

add_library(ovs::openvswitch STATIC IMPORTED GLOBAL)
set_target_properties(ovs::openvswitch PROPERTIES
    IMPORTED_LOCATION "${_ovs_lib}"
    INTERFACE_INCLUDE_DIRECTORIES "${ZEF_OVS_DIR}/include;${ZEF_OVS_DIR}/lib;${ZEF_OVS_DIR}"
    INTERFACE_LINK_LIBRARIES "${_ovs_libs};Threads::Threads")
