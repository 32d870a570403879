# Installs the shared library, the headers of the exported classes and a CMake package,
# so that an outside project can say find_package(kt) and link kt::kt.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS kt EXPORT ktTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION include/kt)

# The exported headers include nothing but each other and the standard library.
install(FILES src/foundation/Export.h src/foundation/Types.h DESTINATION include/kt/foundation)
install(FILES
  src/math/Vector.h
  src/math/Orientation.h
  src/math/coordinateSystemTransformation.h
  src/math/ReArray.h
  DESTINATION include/kt/math)
install(FILES src/geometry/KtShape.h DESTINATION include/kt/geometry)
install(FILES src/motion/position/KtPropagationResultData.h DESTINATION include/kt/motion/position)
install(FILES src/control/baseControlInterface.h src/control/controlInterface.h DESTINATION include/kt/control)

install(EXPORT ktTargets NAMESPACE kt:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kt)
configure_package_config_file(cmake/ktConfig.cmake.in
  ${PROJECT_BINARY_DIR}/ktConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kt)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ktConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ktConfig.cmake ${PROJECT_BINARY_DIR}/ktConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kt)
