// Values against cases that an independent model computed.

#include "support/Cases.h"

using namespace cases;

namespace {

ZvObject$ Element(const Json& j) {
    if (j.is_null()) return nullptr;
    const std::string form = j[0];
    if (form == "i") return new ZvPrimitive<int>(j[1].get<int>());
    if (form == "s") return new ZvString(j[1].get<std::string>().c_str());
    if (form == "c") return new ZvPrimitive<char>(j[1].get<std::string>()[0]);
    if (form == "d") return new ZvPrimitive<double>(Scalar<double>(j[1]));
    return new ZvPrimitive<bool>(j[1].get<bool>());
}

ZvObject$ Collection(const std::string& cls, const Json& elements) {
    ZvObject$ o = ZvSystem::FindType(cls.c_str())->CreateObject();
    for (const Json& e : elements) {
        if (cls == "ZvArrayList") ZvArrayList$(o)->Add(Element(e));
        if (cls == "ZvQueue") ZvQueue$(o)->Enqueue(Element(e));
        if (cls == "ZvStack") ZvStack$(o)->Push(Element(e));
        if (cls == "ZvHashSet") ZvHashSet$(o)->Add(Element(e));
        if (cls == "ZvDictionary") ZvDictionary$(o)->Add(Element(e[0]), Element(e[1]));
    }
    return o;
}

ZvObject$ Key(const std::string& text) {
    if (text == "~") return nullptr;
    if (text[0] == '#') return new ZvPrimitive<int>(std::stoi(text.substr(1)));
    return new ZvString(text.c_str());
}

std::string KeyText(const ZvObject$& key) {
    if (!key) return "~";
    if (const ZvString$ s = key) return s->CStr();
    return std::string("#") + key->ToString()->CStr();
}

Json Keys(const ZvDictionary$& d) {
    Json keys = Json::array();
    ZvIDictionaryEnumerator$ e = d->GetEnumerator();
    for (; e->HasNext(); e->Next()) keys.push_back(KeyText(e->Key()));
    return keys;
}

Json Values(const ZvDictionary$& d) {
    Json values = Json::array();
    ZvIDictionaryEnumerator$ e = d->GetEnumerator();
    for (; e->HasNext(); e->Next()) {
        if (!e->Value())
            values.push_back(nullptr);
        else
            values.push_back(std::stoi(e->Value()->ToString()->CStr()));
    }
    return values;
}

ZvDictionary$ RunDictionary(const Json& ops) {
    ZvDictionary$ d = new ZvDictionary;
    int n = 0;
    for (const Json& op : ops) {
        const std::string text = op;
        const ZvObject$ key = text.size() > 1 ? Key(text.substr(1)) : ZvObject$();
        const ZvObject$ value = new ZvPrimitive<int>(n++);
        if (text[0] == '+') d->Add(key, value);
        if (text[0] == '=') (*d)[key] = value;
        if (text[0] == '?') (*d)[key];
        if (text[0] == '-') d->Remove(key);
        if (text[0] == '!') d->Clear();
    }
    return d;
}

}

TEST(ValueCases, StringHash) {
    for (const Json& c : Group("strings", "hash")) {
        const ZvString$ s = new ZvString(Text(c).c_str());
        EXPECT_EQ(s->GetHashCode(), Hex64(c["hash"])) << c;
        EXPECT_EQ(ZvString::Hash(Text(c).c_str()), Hex64(c["hash"])) << c;
    }
}

TEST(ValueCases, StringSubstrFindAndEscape) {
    for (const Json& c : Group("strings", "substr")) {
        const ZvString s(c["text"].get<std::string>().c_str());
        EXPECT_EQ(*s.Substr(c["pos"].get<size_t>(), static_cast<size_t>(c["len"].get<long long>())), c["out"].get<std::string>().c_str()) << c;
    }
    for (const Json& c : Group("strings", "find")) {
        const ZvString s(c["text"].get<std::string>().c_str());
        const std::string what = c["what"];
        EXPECT_EQ(s.Find(what.c_str()), Scalar<unsigned long long>(c["find"])) << c;
        EXPECT_EQ(s.RFind(what.c_str()), Scalar<unsigned long long>(c["rfind_text"])) << c;
        EXPECT_EQ(s.Find(what[0]), Scalar<unsigned long long>(c["find_char"])) << c;
        EXPECT_EQ(s.RFind(what[0]), Scalar<unsigned long long>(c["rfind_char"])) << c;
    }
    for (const Json& c : Group("strings", "xml-escape"))
        EXPECT_EQ(*ZvString(Text(c["text"]).c_str()).XmlEscape(), Text(c["out"]).c_str()) << c;
    for (const Json& c : Group("strings", "compare")) {
        const ZvString a(FromHex(c["a"]).c_str()), b(FromHex(c["b"]).c_str());
        const int order = c["order"];
        EXPECT_EQ(a < b, order < 0) << c;
        EXPECT_EQ(a > b, order > 0) << c;
        EXPECT_EQ(a <= b, order <= 0) << c;
        EXPECT_EQ(a >= b, order >= 0) << c;
        EXPECT_EQ(a == b, order == 0) << c;
    }
}

TEST(ValueCases, BoxTablesByNumber) {
    for (const Json& c : Group("boxes", "find-type")) {
        const auto number = static_cast<ZvValueType>(c["number"].get<int>());
        ZvType* box = ZvValue::FindType(number);
        ZvType* array = ZvValue::FindArrayType(number);
        EXPECT_EQ(box != nullptr ? Json(box->GetName()->CStr()) : Json(), c["box"]) << c;
        EXPECT_EQ(array != nullptr ? Json(array->GetName()->CStr()) : Json(), c["array"]) << c;
    }
    for (const Json& c : Group("boxes", "kinds")) {
        ZvType* box = ZvSystem::FindType(c["box"].get<std::string>().c_str());
        ASSERT_NE(box, nullptr) << c;
        EXPECT_EQ(box->GetSchema(), c["boxSchema"]) << c;
        EXPECT_EQ(box->GetClassSpec(), c["boxClassSpec"]) << c;
        if (c.contains("defaultText")) {
            const ZvObject$ made = box->CreateObject();
            EXPECT_EQ(*made->ToString(), Text(c["defaultText"]).c_str()) << c;
        }
        if (!c.contains("array") || c["array"].is_null()) continue;
        ZvType* array = ZvSystem::FindType(c["array"].get<std::string>().c_str());
        ASSERT_NE(array, nullptr) << c;
        EXPECT_EQ(array->GetSchema(), c["arraySchema"]) << c;
        EXPECT_EQ(array->GetClassSpec(), c["arrayClassSpec"]) << c;
    }
}

TEST(ValueCases, BoxesTakeTheKindsOfTheirShapeAlone) {
    for (const Json& c : Group("boxes", "accepted")) {
        const std::set<int> accepted(c["accepted"].begin(), c["accepted"].end());
        WithKind(c["kind"], [&](auto* tag) {
            using T = std::remove_pointer_t<decltype(tag)>;
            for (int number = 0; number < 64; ++number) {
                const bool isReference = number >= 45 && number <= 47;
                alignas(16) unsigned char room[256]{};
                ZvPrimitive<T> box;
                const auto kind = static_cast<ZvValueType>(number);
                if (isReference) {
                    ZvObject$ handle;
                    EXPECT_FALSE(box.SetValue(&handle, kind, 0)) << c << number;
                    continue;
                }
                EXPECT_EQ(box.SetValue(room, kind, 0), accepted.count(number) == 1) << c << number;
                EXPECT_EQ(box.GetValue(room, kind, 0), accepted.count(number) == 1) << c << number;
            }
        });
    }
}

TEST(ValueCases, ConversionsBetweenKindsBothWays) {
    for (const char* group : {"convert", "convert-composite", "convert-worked"})
        for (const Json& c : Group("boxes", group))
            WithKind(c["src"], [&](auto* from) {
                using From = std::remove_pointer_t<decltype(from)>;
                WithKind(c["dst"], [&](auto* to) {
                    using To = std::remove_pointer_t<decltype(to)>;
                    const auto v = Value<From>(c["v"]);
                    const auto out = Value<To>(c["out"]);
                    // A vector does not give itself out as a colour; a colour takes a vector.
                    const bool gives = !std::is_same_v<To, zvcolor> || std::is_same_v<From, zvcolor>;
                    To got{};
                    EXPECT_EQ(ZvPrimitive<From>(v).GetValue(&got, zvc::detail::KindNumber<To>, 0), gives) << c;
                    if (gives) {
                        EXPECT_TRUE(Same(got, out)) << "GetValue " << c;
                    }
                    ZvPrimitive<To> box;
                    EXPECT_TRUE(box.SetValue(&v, zvc::detail::KindNumber<From>, 0)) << c;
                    EXPECT_TRUE(Same(box.value, out)) << "SetValue " << c;
                });
            });
}

TEST(ValueCases, BoxTextHashAndEquality) {
    for (const Json& c : Group("boxes", "to-string"))
        WithKind(c["kind"], [&](auto* tag) {
            using T = std::remove_pointer_t<decltype(tag)>;
            EXPECT_EQ(*ZvPrimitive<T>(Value<T>(c["v"])).ToString(), Text(c["out"]).c_str()) << c;
        });
    for (const Json& c : Group("boxes", "hash"))
        WithKind(c["kind"], [&](auto* tag) {
            using T = std::remove_pointer_t<decltype(tag)>;
            EXPECT_EQ(ZvPrimitive<T>(Value<T>(c["v"])).GetHashCode(), Hex64(c["hash"])) << c;
        });
    for (const Json& c : Group("boxes", "equals"))
        WithKind(c["kind"], [&](auto* tag) {
            using T = std::remove_pointer_t<decltype(tag)>;
            const ZvPrimitive<T> a(Value<T>(c["a"])), b(Value<T>(c["b"]));
            EXPECT_EQ(a.Equals(&b), c["equal"].get<bool>()) << c;
        });
}

TEST(ValueCases, ParsingReadsAsAStreamDoes) {
    for (const Json& c : Group("boxes", "parse"))
        WithKind(c["kind"], [&](auto* tag) {
            using T = std::remove_pointer_t<decltype(tag)>;
            const ZvValue$ box = ZvPrimitive<T>::Parse(new ZvString(Text(c).c_str()));
            if (c["out"].is_null()) {
                EXPECT_TRUE(!box) << c;
                return;
            }
            ASSERT_TRUE(box) << c;
            T value{};
            box->GetValue(&value, zvc::detail::KindNumber<T>, 0);
            EXPECT_TRUE(Same(value, Value<T>(c["out"]))) << c;
        });
}

TEST(ValueCases, CollectionTextHashAndEquality) {
    for (const Json& c : Group("collections", "to-string"))
        EXPECT_EQ(*Collection(c["cls"], c["elements"])->ToString(), Text(c["out"]).c_str()) << c;
    for (const Json& c : Group("collections", "hash"))
        EXPECT_EQ(Collection(c["cls"], c["elements"])->GetHashCode(), Hex64(c["hash"])) << c;
    for (const Json& c : Group("collections", "equals")) {
        const ZvObject$ a = Collection(c["cls"], c["a"]);
        const ZvObject$ b = Collection(c["cls2"], c["b"]);
        EXPECT_EQ(a->Equals(b.Get()), c["equal"].get<bool>()) << c;
    }
}

TEST(ValueCases, BagsAreEqualUpsideDown) {
    const auto bag = [](const Json& entries) {
        ZvSerializationInfo$ info = new ZvSerializationInfo;
        for (const Json& e : entries) info->SetValue(new ZvString(e[0].get<std::string>().c_str()), Element(e[1]));
        return info;
    };
    for (const Json& c : Group("collections", "serialization-info"))
        EXPECT_EQ(bag(c["a"])->Equals(bag(c["b"]).Get()), c["equal"].get<bool>()) << c;
}

TEST(ValueCases, HashTableOrderIsAFunctionOfItsHistory) {
    for (const char* group : {"dictionary", "dictionary-random"})
        for (const Json& c : Group("hashtable", group)) {
            const ZvDictionary$ d = RunDictionary(c["ops"]);
            EXPECT_EQ(d->Count(), c["count"].get<size_t>()) << c;
            EXPECT_EQ(Keys(d), c["order"]) << c;
            EXPECT_EQ(Values(d), c["values"]) << c;
            if (c.contains("copy")) {
                EXPECT_EQ(Keys(ZvDictionary$(new ZvDictionary(*d))), c["copy"]) << c;
            }
        }
    for (const Json& c : Group("hashtable", "set")) {
        ZvHashSet$ set = new ZvHashSet;
        for (const Json& op : c["ops"]) {
            const std::string text = op;
            if (text[0] == '+') set->Add(Key(text.substr(1)));
            if (text[0] == '-') set->Remove(Key(text.substr(1)));
            if (text[0] == '!') set->Clear();
        }
        Json order = Json::array();
        for (ZvIEnumerator$ e = set->GetEnumerator(); e->HasNext();) order.push_back(KeyText(e->Next()));
        EXPECT_EQ(order, c["order"]) << c;
        EXPECT_EQ(set->Count(), c["count"].get<size_t>()) << c;
    }
}

namespace {

// Has the list read a list of numbered boxes from a stream.
void Decode(ZvArrayList& list, const Json& items) {
    ZvArrayList stored;
    for (const Json& i : items) stored.Add(new ZvPrimitive<int>(i.get<int>()));
    Memory bytes;
    ZvBinaryCoder$ coder = Coder(0);
    stored.Encode(bytes.stream, coder.Get());
    Memory in(bytes.Taken());
    coder = Coder(0);
    list.Decode(in.stream, coder.Get());
}

}

TEST(ValueCases, ListGrowth) {
    for (const Json& c : Group("growth", "list")) {
        ZvArrayList list;
        for (const Json& op : c["ops"]) {
            const std::string name = op[0];
            const auto box = [](const Json& j) { return j.is_null() ? ZvObject$() : ZvObject$(new ZvPrimitive<int>(j.get<int>())); };
            if (name == "add") list.Add(box(op[1]));
            else if (name == "insert") list.Insert(op[1].get<size_t>(), box(op[2]));
            else if (name == "remove_at") list.RemoveAt(op[1].get<size_t>());
            else if (name == "remove_range") list.Remove(op[1].get<size_t>(), op[2].get<size_t>());
            else if (name == "reserve") list.Reserve(op[1].get<size_t>());
            else if (name == "resize") list.Resize(op[1].get<size_t>());
            else if (name == "clear") list.Clear();
            else if (name == "decode") Decode(list, op[1]);
            else ADD_FAILURE() << "an operation that the test does not know: " << name;
        }
        EXPECT_EQ(list.Count(), c["count"].get<size_t>()) << c;
        EXPECT_EQ(list.Capacity(), c["capacity"].get<size_t>()) << c;
        for (size_t i = 0; i < list.Count(); ++i) {
            if (c["items"][i].is_null()) {
                EXPECT_TRUE(!list[i]) << c;
            } else {
                EXPECT_EQ(*list[i]->ToString(), std::to_string(c["items"][i].get<int>()).c_str()) << c;
            }
        }
    }
}
