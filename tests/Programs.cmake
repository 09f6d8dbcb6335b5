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
