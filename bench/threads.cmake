find_package(TBB REQUIRED)
target_link_libraries(zvc_bench_threads PRIVATE TBB::tbb)
