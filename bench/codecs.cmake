find_package(PNG REQUIRED)
find_package(JPEG REQUIRED)
target_link_libraries(zvc_bench_codecs PRIVATE PNG::PNG JPEG::JPEG)
add_dependencies(zvc_bench_codecs zvc_png zvc_jpg)
