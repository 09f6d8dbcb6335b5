# Tests that are programs of their own: the examples run, and examples/ built against an installed copy.
file(GLOB examples CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/*.cpp)
foreach(example ${examples})
  get_filename_component(name ${example} NAME_WE)
  add_test(NAME example.${name} COMMAND ${name})
  set_tests_properties(example.${name} PROPERTIES TIMEOUT 60)
endforeach()

add_test(NAME install.consumer COMMAND ${CMAKE_COMMAND}
  -D BUILD=${PROJECT_BINARY_DIR} -D SOURCE=${PROJECT_SOURCE_DIR} -D COMPILER=${CMAKE_CXX_COMPILER}
  -D LIBDIR=${CMAKE_INSTALL_LIBDIR} -D SANITIZE=${GNSS_SANITIZE}
  -P ${CMAKE_CURRENT_SOURCE_DIR}/install_consumer.cmake)
set_tests_properties(install.consumer PROPERTIES TIMEOUT 600)

# The libraries loaded by, used from static initialisers of, and unloaded from a program that does not know them.
add_library(load_probe MODULE load/Probe.cpp)
target_link_libraries(load_probe PRIVATE GNSS::gnss)
gnss_warnings(load_probe)
add_executable(load_test load/LoadTest.cpp)
target_link_libraries(load_test PRIVATE ${CMAKE_DL_LIBS})
gnss_warnings(load_test)
add_test(NAME load.and_unload COMMAND load_test $<TARGET_FILE:load_probe>
  $<TARGET_FILE:gnss_gnss> $<TARGET_FILE:gnss_platform>)

# Two simulated days of the soak; scripts/test-long.sh runs the month. Freed memory stays with the address sanitizer for
# a while, which would look like growth, and 11000 almanacs are better saved to memory than to a disk.
if(TARGET gnss_host)
  add_executable(store_soak ${PROJECT_SOURCE_DIR}/bench/store_soak.cpp)
  target_link_libraries(store_soak PRIVATE gnss_host)
  gnss_warnings(store_soak)
  add_test(NAME soak.stores COMMAND store_soak 2)
  set(environment ASAN_OPTIONS=quarantine_size_mb=1)
  if(EXISTS /dev/shm)
    list(APPEND environment TMPDIR=/dev/shm)
  endif()
  set_tests_properties(soak.stores PROPERTIES TIMEOUT 600 ENVIRONMENT "${environment}")
endif()
