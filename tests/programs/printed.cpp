// Objects for a debugger to print: it stops where they are all there, or reads the image of a crash there (printed IMAGE).

#include <zvc/zvc.h>

#include "support/Arguments.h"

ZV_MODULE("Printed", nullptr, nullptr)

namespace studio {
class Lamp : public ZvObject {
    ZV_DECLARE_CLASS(Lamp)
public:
    int m_watts = 60;
    ZvObject$ m_next;
};
ZV_DECLARE_HANDLE(Lamp, ZvObject$);
}
ZV_DEFINE_CLASS(studio::Lamp, (ZvObject))

namespace {

volatile int s_stops = 0;

[[gnu::noinline]] void Stop(bool crash) {
    s_stops = s_stops + 1;
    if (crash) __builtin_trap();
}

void Show(bool crash) {
    const ZvObject$ none;
    const ZvString$ text = new ZvString("a text that stands on the heap");
    const ZvObject$ sameText = text;
    const ZvString inlineText("short");
    const ZvObject$ number = Box(-42), letter = Box('a'), yes = Box(true), real = Box(1.5);
    const ZvObject$ vec = Box(CG::vec3<float>{1, 2, 3}), color = Box(zvcolor(0.5f, 0.25f, 1));
    const ZvObject$ reference = Box(number), toNothing = Box(ZvObject$());
    const ZvObject$ pointer = Box(static_cast<ZvObject*>(text.Get()));
    const int three[] = {7, 8, 9};
    const ZvObject$ array = new ZvPrimArray<int>(3, three), emptyArray = new ZvPrimArray<double>;
    const ZvArguments$ arguments = Arguments({text, none});
    ZvVector<float> vector;
    for (float f : {0.5f, 1.5f, 2.5f, 3.5f, 4.5f}) vector.Add(f);
    ZvArrayList$ list = new ZvArrayList;
    list->Add(number);
    list->Add(none);
    list->Add(text);
    ZvQueue$ queue = new ZvQueue;
    ZvStack$ stack = new ZvStack;
    for (int i = 0; i < 70; ++i) queue->Enqueue(Box(i));
    for (int i = 0; i < 68; ++i) queue->Dequeue();
    stack->Push(text);
    ZvDictionary$ dictionary = new ZvDictionary;
    dictionary->Add(new ZvString("one"), Box(1));
    dictionary->Add(new ZvString("list"), list);
    ZvHashSet$ set = new ZvHashSet;
    set->Add(new ZvString("member"));
    const ZvPair$ pair = new ZvPair(text, none);
    ZvSerializationInfo$ info = new ZvSerializationInfo;
    info->SetValue(new ZvString("count"), ZvValue$(number));
    ZvEnum$ choice = new ZvEnum;
    choice->AddCandidate(new ZvString("red"));
    choice->AddCandidate(new ZvString("green"));
    choice->Select(1);
    const ZvData$ data = new ZvData(3, reinterpret_cast<const unsigned char*>("abc"));
    const ZvDateTime$ date = new ZvDateTime(24, 12, 1999, 8, 5, 1.5, 3, true);
    const ZvDateTime noon;
    const ZvArrayList$ empty = new ZvArrayList;
    const ZvIEnumerator$ walker = empty->GetEnumerator();
    const ZvType$ type = &studio::Lamp::s_type;
    const ZvObject$ boxType = &ZvPrimitive<int>::s_type;
    studio::Lamp$ lamp = new studio::Lamp;
    const ZvObject$ asObject = lamp;
    const ZvInterface$ asInterface = ZvObject$(list);
    const ZvIList$ asList = ZvObject$(list);
    const ZvHandle<studio::Lamp, ZvObject$> generic = lamp;
    const ZvObject$ ofPlugin = ZvSystem::New($L("plug_gadgets.Gadget"));
    const zvcolor white[] = {zvcolor(1, 1, 1)};
    const ZvPrimArray<zvcolor> colors(1, white);
    Stop(crash);
}

}

int main(int argc, char** argv) {
    if (argc > 1) ZvSystem::SetDumpPath(argv[1]);
    Show(argc > 1);
}
