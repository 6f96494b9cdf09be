find_package(ZLIB REQUIRED)
find_package(LibXml2 REQUIRED)
target_link_libraries(zvc_bench_zip PRIVATE ZLIB::ZLIB LibXml2::LibXml2)

# The example's classes live in a plug-in, which stands beside the program.
if(NOT TARGET scene_model)
    add_subdirectory(${PROJECT_SOURCE_DIR}/examples/scene ${PROJECT_BINARY_DIR}/examples/scene)
endif()
add_dependencies(zvc_bench_zip scene_model)
