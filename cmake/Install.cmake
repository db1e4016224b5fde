# What `cmake --install` puts into a prefix: the library with its SONAME, the
# public headers (and nothing from src/), the two programs, a CMake package
# with the imported target QorvPictureBox::QorvPictureBox, and a pkg-config
# file. Every path is relative to the prefix, so `--prefix` moves all of it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(QORV_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/QorvPictureBox)

install(TARGETS QorvPictureBox EXPORT QorvPictureBoxTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Development
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/QorvPictureBox DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")

# The programs find the library beside them in any prefix.
set_target_properties(qorv qorv-view PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
install(TARGETS qorv qorv-view RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The decoder helper goes beside the library, which looks for it there.
install(TARGETS qorv-decode RUNTIME DESTINATION ${CMAKE_INSTALL_LIBDIR})

install(EXPORT QorvPictureBoxTargets NAMESPACE QorvPictureBox:: DESTINATION ${QORV_CMAKE_DIR})
configure_package_config_file(cmake/QorvPictureBoxConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/QorvPictureBoxConfig.cmake INSTALL_DESTINATION ${QORV_CMAKE_DIR})
# 1.x hosts accept any 1.y at least as new as the one they ask for.
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/QorvPictureBoxConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/QorvPictureBoxConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/QorvPictureBoxConfigVersion.cmake
        DESTINATION ${QORV_CMAKE_DIR})

# pkg-config locates the prefix from the .pc file's own folder, so the file
# stays right wherever the tree is installed.
file(RELATIVE_PATH QORV_PC_TO_PREFIX "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
string(REGEX REPLACE "/$" "" QORV_PC_TO_PREFIX "${QORV_PC_TO_PREFIX}")
configure_file(cmake/QorvPictureBox.pc.in ${CMAKE_CURRENT_BINARY_DIR}/QorvPictureBox.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/QorvPictureBox.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
