// Makes as many calls as its word says, for calls.sh to count what they cost.

#include <zvc/zvc.h>

#include <cstdlib>
#include <filesystem>

ZV_MODULE("Bench", nullptr, nullptr)

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 0;
    const std::string worker = (std::filesystem::path(argv[0]).parent_path() / "zvc_bench_remoting_worker").string();
    const ZvType$ intType(&ZvPrimitive<int>::s_type);
    const ZvString$ sum = new ZvString("Sum");
    const ZvArguments$ arguments = new ZvPrimArray<ZvObject$>(2, nullptr);
    (*arguments)[0] = (*arguments)[1] = new ZvPrimitive<int>(2);

    const ZvChannel$ channel = new ZvChannel(1, new ZvString(worker.c_str()));
    channel->StartListening();
    channel->Send(new remoting::ConstructingCall(intType, new ZvPrimArray<ZvObject$>(0, nullptr)));
    const remoting::ConstructingResponse$ made = channel->GetResponse(0);
    const ZvObjRef$ summer = made->CreatedObject();
    for (int i = 0; i < count; ++i)
        if (!summer->Invoke(intType, sum, arguments, 0)) return 1;
    channel->StopListening();
    while (channel->GetMethod()) {}
    return 0;
}
