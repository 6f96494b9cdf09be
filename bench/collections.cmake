find_package(Boost REQUIRED)
target_link_libraries(zvc_bench_collections PRIVATE Boost::headers)
