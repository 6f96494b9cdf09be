// The workers of the peers: capnp DESCRIPTOR, or grpc SOCKET.

#include "sum.capnp.h"
#include "sum.grpc.pb.h"

#include <capnp/rpc-twoparty.h>
#include <grpcpp/grpcpp.h>
#include <kj/async-io.h>

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

class CapnpSummer final : public Summer::Server {
protected:
    kj::Promise<void> sum(SumContext context) override {
        const auto params = context.getParams();
        context.getResults().setSum(params.getA() + params.getB());
        return kj::READY_NOW;
    }
};

int ServeCapnp(int descriptor) {
    auto io = kj::setupAsyncIo();
    auto stream = io.lowLevelProvider->wrapSocketFd(descriptor);
    capnp::TwoPartyServer server(kj::heap<CapnpSummer>());
    server.accept(kj::mv(stream));
    server.drain().wait(io.waitScope);
    return 0;
}

class GrpcSummer final : public rpc::Summer::Service {
    grpc::Status Sum(grpc::ServerContext*, const rpc::Pair* pair, rpc::Total* total) override {
        total->set_sum(pair->a() + pair->b());
        return grpc::Status::OK;
    }
};

// Until its input ends.
int ServeGrpc(const std::string& socket) {
    GrpcSummer summer;
    grpc::ServerBuilder builder;
    builder.AddListeningPort("unix:" + socket, grpc::InsecureServerCredentials());
    builder.RegisterService(&summer);
    const std::unique_ptr<grpc::Server> server = builder.BuildAndStart();
    char byte = 'x';
    if (write(1, &byte, 1) != 1) return 1;
    while (read(0, &byte, 1) > 0) {}
    server->Shutdown();
    return 0;
}

}

int main(int argc, char** argv) {
    if (argc != 3) return 1;
    const std::string mode = argv[1];
    if (mode == "capnp") return ServeCapnp(std::atoi(argv[2]));
    return ServeGrpc(argv[2]);
}
