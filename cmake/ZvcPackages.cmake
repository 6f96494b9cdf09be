# Debian packages, one for each component that is installed: `cpack` in a build folder makes them under packages/.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zvc)
set(CPACK_PACKAGE_VENDOR ZVC)
set(CPACK_PACKAGE_CONTACT "ZVC maintainers <maintainers@zvc.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL library development codecs tools)
set(CPACK_COMPONENTS_GROUPING IGNORE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)                  # what a debugger needs goes into packages of its own, *-dbgsym
# What a library of the system is called as a package is found out by dpkg-shlibdeps; ours is named by hand.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(ZVC_LIBRARY_PACKAGE libzvc${PROJECT_VERSION_MAJOR})
set(ZVC_SAME_LIBRARY "${ZVC_LIBRARY_PACKAGE} (= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${ZVC_LIBRARY_PACKAGE})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "Objects with reflection, collections, versioned streams, tasks, processes and
images for an application, its plug-ins and its worker processes.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzvc-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${ZVC_SAME_LIBRARY}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "zvc-codecs")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "cmake, zvc-tools")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, the CMake package, the pkg-config file and a project to start from
(/usr/share/zvc/template).")

set(CPACK_DEBIAN_CODECS_PACKAGE_NAME zvc-codecs)
set(CPACK_DEBIAN_CODECS_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_CODECS_PACKAGE_DEPENDS "${ZVC_SAME_LIBRARY}")
set(CPACK_COMPONENT_CODECS_DESCRIPTION "Plug-ins for PNG, JPEG, TIFF, BMP and Radiance HDR, which a program has
beside it: zvc_copy_codecs() of the CMake package brings them there.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zvc-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${ZVC_SAME_LIBRARY}")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "zvcdump shows what stands in a file of objects.")

include(CPack)
