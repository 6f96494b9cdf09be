# The peers' code is made from their own descriptions.
find_package(Protobuf REQUIRED)
find_package(gRPC CONFIG REQUIRED)
find_program(ZVC_CAPNP capnp REQUIRED)
find_program(ZVC_GRPC_PLUGIN grpc_cpp_plugin REQUIRED)

set(ZVC_CAPNP_SOURCES ${CMAKE_CURRENT_BINARY_DIR}/sum.capnp.c++)
add_custom_command(OUTPUT ${ZVC_CAPNP_SOURCES}
    COMMAND ${ZVC_CAPNP} compile -oc++:${CMAKE_CURRENT_BINARY_DIR} --src-prefix=${CMAKE_CURRENT_SOURCE_DIR}/remoting
        ${CMAKE_CURRENT_SOURCE_DIR}/remoting/sum.capnp
    DEPENDS remoting/sum.capnp)
set(ZVC_PROTO_SOURCES ${CMAKE_CURRENT_BINARY_DIR}/sum.pb.cc ${CMAKE_CURRENT_BINARY_DIR}/sum.grpc.pb.cc)
add_custom_command(OUTPUT ${ZVC_PROTO_SOURCES}
    COMMAND ${Protobuf_PROTOC_EXECUTABLE} --proto_path=${CMAKE_CURRENT_SOURCE_DIR}/remoting --cpp_out=${CMAKE_CURRENT_BINARY_DIR}
        --grpc_out=${CMAKE_CURRENT_BINARY_DIR} --plugin=protoc-gen-grpc=${ZVC_GRPC_PLUGIN} sum.proto
    DEPENDS remoting/sum.proto)
add_library(zvc_bench_remoting_rpc STATIC ${ZVC_CAPNP_SOURCES} ${ZVC_PROTO_SOURCES})
target_include_directories(zvc_bench_remoting_rpc PUBLIC ${CMAKE_CURRENT_BINARY_DIR})
target_link_libraries(zvc_bench_remoting_rpc PUBLIC capnp-rpc capnp kj-async kj gRPC::grpc++ protobuf::libprotobuf)

add_executable(zvc_bench_remoting_worker remoting/worker.cpp)
target_link_libraries(zvc_bench_remoting_worker PRIVATE zvc::zvc Threads::Threads)
target_compile_options(zvc_bench_remoting_worker PRIVATE -Wall -Wextra)
add_executable(zvc_bench_remoting_peers remoting/peers.cpp)
target_link_libraries(zvc_bench_remoting_peers PRIVATE zvc_bench_remoting_rpc)
target_link_libraries(zvc_bench_remoting PRIVATE zvc_bench_remoting_rpc)
add_dependencies(zvc_bench_remoting zvc_bench_remoting_worker zvc_bench_remoting_peers)
add_executable(zvc_bench_remoting_calls remoting/calls.cpp)
target_link_libraries(zvc_bench_remoting_calls PRIVATE zvc::zvc)
add_dependencies(zvc_bench_remoting zvc_bench_remoting_calls)
