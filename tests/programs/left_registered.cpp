// Registers a class and an object for remote use, and ends without taking either back.
#include <zvc/zvc.h>

#include <cstdio>

ZV_MODULE("left_registered", nullptr, nullptr)

namespace {

class Served : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Served)
    ZV_DECLARE_CREATE(Served)
public:
    ~Served() override { std::puts("released"); }
};

}

ZV_DEFINE_CLASS(Served, (ZvMarshalByRefObject), .create = &Create)

int main() {
    remoting::RemotingConfigulation::RegisterActivatedType(ZvType$(&Served::s_type));
    remoting::RemotingServices::RegistRemoteObject(ZvObject$(new Served));
    std::puts("registered");
    return 9;
}
