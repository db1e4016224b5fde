# Every public header compiles on its own, in C++17 and C++20, with only the
# public include folder on the path (nothing from src/ can leak in unnoticed),
# after macro sets that hosts commonly have defined. A header that breaks any
# of these fails the build.
file(GLOB _public_headers RELATIVE ${PROJECT_SOURCE_DIR}/include/QorvPictureBox
     CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/QorvPictureBox/*.h)
foreach(_std 17 20)
  set(_units)
  foreach(HEADER ${_public_headers})
    string(REGEX REPLACE "\\.h$" "" _stem ${HEADER})
    foreach(_set c_libraries system_macros)
      set(_unit ${CMAKE_CURRENT_BINARY_DIR}/headers/${_set}_${_stem}.cpp)
      configure_file(${CMAKE_CURRENT_LIST_DIR}/${_set}.cpp.in ${_unit} @ONLY)
      list(APPEND _units ${_unit})
    endforeach()
  endforeach()
  add_library(header_check_cxx${_std} OBJECT ${_units})
  set_target_properties(header_check_cxx${_std} PROPERTIES CXX_STANDARD ${_std} AUTOMOC OFF)
  target_include_directories(header_check_cxx${_std} PRIVATE ${FREEIMAGE_INCLUDE_DIR})
  target_link_libraries(header_check_cxx${_std} PRIVATE QorvPictureBox qorv_warnings)
endforeach()
