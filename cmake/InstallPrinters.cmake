# The prefix may be chosen at install time, and gdb looks under the library's full path.
cmake_path(ABSOLUTE_PATH ZVC_LIBDIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE)
file(INSTALL "${ZVC_PRINTERS}" DESTINATION "${CMAKE_INSTALL_PREFIX}/share/gdb/auto-load${ZVC_LIBDIR}"
    RENAME "${ZVC_LIBRARY}-gdb.py")
