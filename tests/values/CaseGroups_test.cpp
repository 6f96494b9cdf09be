// More of the cases that an independent model computed: histories of strings, lists, vectors and tables, and hashes.

#include "support/Cases.h"

using namespace cases;

namespace {

template <class T>
bool LiesInside(const T& object, const void* p) {
    return p >= static_cast<const void*>(&object) && p < static_cast<const void*>(&object + 1);
}

/// An object with a hash that the case states.
class Hashed : public ZvObject {
public:
    explicit Hashed(size_t hash) : m_hash(hash) {}
    size_t GetHashCode() const override { return m_hash; }

private:
    size_t m_hash;
};

class HashedType : public ZvType {
public:
    explicit HashedType(size_t hash) : m_hash(hash) {}
    size_t GetHashCode() const override { return m_hash; }

private:
    size_t m_hash;
};

ZvArguments$ Parameters(const Json& hashes, std::vector<ZvObject$>& kept) {
    ZvArguments$ args = new ZvPrimArray<ZvObject$>(hashes.size(), nullptr);
    for (size_t i = 0; i < hashes.size(); ++i) {
        kept.emplace_back(new HashedType(Hex64(hashes[i])));
        (*args)[i] = kept.back();
    }
    return args;
}

void RunSteps(ZvString& s, const Json& steps) {
    for (size_t i = 0; i < steps.size(); ++i) {
        const Json& step = steps[i];
        const std::string op = step[0];
        const auto text = [&] { return step[1].get<std::string>(); };
        if (op == "new" || op == "assign") s = text().c_str();
        else if (op == "append") s += text().c_str();
        else if (op == "get_buffer") s.GetBuffer(step[1].get<size_t>());
        else if (op == "assign_own") s = s.CStr() + step[1].get<size_t>();
        else if (op == "format") s.Format("%d-%s", step[2].get<int>(), step[3].get<std::string>().c_str());
        else ADD_FAILURE() << "an operation that the test does not know: " << op;
    }
}

}

TEST(ValueCases, StringHistories) {
    for (const Json& c : Group("strings", "steps")) {
        const bool isMadeOfText = c["steps"][0][0] == "new";
        ZvString s(isMadeOfText ? c["steps"][0][1].get<std::string>().c_str() : "");
        Json rest = c["steps"];
        if (isMadeOfText) rest.erase(0);
        RunSteps(s, rest);
        EXPECT_EQ(s, c["text"].get<std::string>().c_str()) << c;
        EXPECT_EQ(LiesInside(s, s.CStr()), c["inline"].get<bool>()) << c;
    }
}

TEST(ValueCases, TextOfAStringObjectIsItsClassName) {
    for (const Json& c : Group("strings", "misc"))
        EXPECT_EQ(*ZvString(c["text"].get<std::string>().c_str()).ToString(), c["out"].get<std::string>().c_str()) << c;
}

TEST(ValueCases, ListsFindByIdentity) {
    for (const Json& c : Group("collections", "list-find")) {
        std::map<std::string, ZvObject$> objects;
        const auto object = [&](const Json& name) -> ZvObject$ {
            if (name.is_null()) return nullptr;
            ZvObject$& o = objects[name];
            if (!o) o = new ZvString("equal content");
            return o;
        };
        ZvArrayList list;
        for (const Json& item : c["items"]) list.Add(object(item));
        const long long index = c["index"].get<long long>();
        EXPECT_EQ(list.IndexOf(object(c["what"])), static_cast<size_t>(index)) << c;
        EXPECT_EQ(list.Contains(object(c["what"])), c["contains"].get<bool>()) << c;
    }
}

TEST(ValueCases, BinarySearchGivesTheFirstOfAHigherAddress) {
    std::vector<ZvObject$> byRank(32);
    for (ZvObject$& o : byRank) o = new ZvObject;
    std::sort(byRank.begin(), byRank.end(), [](const ZvObject$& a, const ZvObject$& b) { return std::less<>()(a.Get(), b.Get()); });
    for (const Json& c : Group("collections", "binary-search")) {
        ZvArrayList list;
        for (const Json& rank : c["items"]) list.Add(byRank.at(rank.get<size_t>()));
        EXPECT_EQ(list.BinarySearch(byRank.at(c["what"].get<size_t>())), c["out"].get<int>()) << c;
    }
}

TEST(ValueCases, DecodedTablesHaveTheOrderOfTheirInsertions) {
    for (const Json& c : Group("hashtable", "set-decode")) {
        // The stream holds the keys as they are told, duplicates among them: no table would write those.
        ZvBinaryCoder$ coder = Coder(0);
        Memory set, dictionary;
        const auto count = static_cast<unsigned int>(c["keys"].size());
        coder->Write(set.stream, count);
        for (const Json& key : c["keys"]) coder->Write(set.stream, ZvObject$(new ZvString(key.get<std::string>().c_str())));
        coder = Coder(0);
        coder->Write(dictionary.stream, count);
        for (unsigned int i = 0; i < count; ++i) {
            coder->Write(dictionary.stream, ZvObject$(new ZvString(c["keys"][i].get<std::string>().c_str())));
            coder->Write(dictionary.stream, ZvObject$(new ZvPrimitive<int>(static_cast<int>(i))));
        }
        ZvHashSet readSet;
        ZvDictionary readDictionary;
        Memory inSet(set.Taken()), inDictionary(dictionary.Taken());
        readSet.Decode(inSet.stream, Coder(0).Get());
        readDictionary.Decode(inDictionary.stream, Coder(0).Get());
        Json order = Json::array(), keys = Json::array(), values = Json::array();
        for (ZvIEnumerator$ e = readSet.GetEnumerator(); e->HasNext();) order.push_back(ZvString$(e->Next())->CStr());
        ZvIDictionaryEnumerator$ e = readDictionary.GetEnumerator();
        for (; e->HasNext(); e->Next()) {
            keys.push_back(ZvString$(e->Key())->CStr());
            values.push_back(static_cast<ZvPrimitive<int>*>(e->Value().Get())->value);
        }
        EXPECT_EQ(order, c["order"]) << c;
        EXPECT_EQ(keys, c["order"]) << c;
        EXPECT_EQ(values, c["values"]) << c;
    }
}

TEST(ValueCases, FieldsGoOutInTheOrderOfTheFieldCache) {
    struct Storage : ZvObject {
        int member = 0;
    };
    int made = 0;
    for (const Json& c : Group("hashtable", "field-order")) {
        const auto map = [&](ZvType* owner, const Json& names) {
            std::vector<ZvField*> table;
            for (const Json& name : names)
                table.push_back(ZvSelectFieldPrimitive(owner, name.get<std::string>().c_str(), ZvVtInt32,
                                                       static_cast<int ZvObject::*>(&Storage::member)));
            table.push_back(nullptr);
            return std::make_unique<ZvFieldMap>(table.data());
        };
        const std::string suffix = std::to_string(++made);
        ZvBase baseBases[] = {ZvBase(&ZvObject::s_type, 0), ZvBase()};
        const auto baseMap = map(&ZvObject::s_type, c["base"]), ownMap = map(&ZvString::s_type, c["own"]);
        ZvType base(("class FieldOrderBase" + suffix).c_str(), sizeof(Storage), 1, nullptr, baseBases, nullptr, baseMap.get(), nullptr,
                    false, typeid(Storage), nullptr, 1);
        ZvBase ownBases[] = {ZvBase(&base, 0), ZvBase()};
        ZvType own(("class FieldOrderOwn" + suffix).c_str(), sizeof(Storage), 1, nullptr, ownBases, nullptr, ownMap.get(), nullptr,
                   false, typeid(Storage), nullptr, 1);
        Json order = Json::array(), source = Json::array();
        ZvIDictionaryEnumerator$ e = own.GetFields()->GetEnumerator();
        for (; e->HasNext(); e->Next()) {
            const ZvField$ field = e->Value();
            order.push_back(field->Name()->CStr());
            source.push_back(field->ToString()->Find("ZvString.") != ~size_t(0) ? "own" : "base");
        }
        EXPECT_EQ(order, c["order"]) << c["name"];
        EXPECT_EQ(source, c["source"]) << c["name"];
    }
}

TEST(ValueCases, VectorGrowth) {
    for (const Json& c : Group("growth", "vector")) {
        ZvVector<int> v;
        for (const Json& op : c["ops"]) {
            const std::string name = op[0];
            const auto number = [&](size_t i) { return op[i].get<unsigned long long>(); };
            if (name == "add") v.Add(op[1].get<int>());
            else if (name == "insert") v.Insert(number(1), op[2].get<int>());
            else if (name == "remove") v.Remove(number(1));
            else if (name == "remove_range") v.Remove(number(1), number(2));
            else if (name == "reserve") v.Reserve(number(1));
            else if (name == "resize") v.Resize(number(1));
            else if (name == "decode") {
                ZvVector<int> stored;
                for (const Json& i : op[1]) stored.Add(i.get<int>());
                Memory bytes;
                ZvBinaryCoder$ coder = Coder(0);
                stored.Encode(bytes.stream, coder.Get());
                Memory in(bytes.Taken());
                v.Decode(in.stream, coder.Get());
            } else ADD_FAILURE() << "an operation that the test does not know: " << name;
        }
        ASSERT_EQ(v.Count(), c["count"].get<unsigned long long>()) << c["name"];
        EXPECT_EQ(v.Capacity(), c["capacity"].get<unsigned long long>()) << c["name"];
        for (size_t i = 0; i < c["items"].size(); ++i) EXPECT_EQ(v[i], c["items"][i].get<int>()) << c["name"];
    }
}

TEST(ValueCases, HashesOfSequences) {
    for (const Json& c : Group("hashes", "sequence")) {
        ZvArrayList list;
        for (const Json& code : c["codes"]) list.Add(code.is_null() ? ZvObject$() : ZvObject$(new Hashed(Hex64(code))));
        EXPECT_EQ(list.GetHashCode(), Hex64(c["hash"])) << c;
    }
}

TEST(ValueCases, ChecksumsAndHashesOfData) {
    for (const Json& c : Group("hashes", "crc32")) {
        const std::string bytes = c.contains("bytes") ? FromHex(c["bytes"])
                                                      : std::string(c["count"].get<size_t>(), static_cast<char>(c["repeat"].get<int>()));
        EXPECT_EQ(Zv::crc32(bytes.data(), static_cast<int>(bytes.size())), static_cast<uint32_t>(Hex64(c["crc"]))) << c;
    }
    for (const Json& c : Group("hashes", "data")) {
        const std::string bytes = FromHex(c["bytes"]);
        ZvData data(bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data()));
        EXPECT_EQ(data.GetHashCode(), Hex64(c["hash"])) << c;
    }
    for (const Json& c : Group("hashes", "data-stale")) {
        const std::string first = FromHex(c["first"]), added = FromHex(c["added"]);
        ZvData data(first.size(), reinterpret_cast<const unsigned char*>(first.data()));
        EXPECT_EQ(data.GetHashCode(), Hex64(c["hashBefore"]));
        data.AddValue(added.size(), added.data());
        EXPECT_EQ(data.GetHashCode(), Hex64(c["hashAfter"]));
        ZvData fresh(data.GetCount(), data.GetValue());
        EXPECT_EQ(fresh.GetHashCode(), Hex64(c["hashOfFreshObject"]));
    }
}

TEST(ValueCases, HashesOfSignatures) {
    std::vector<ZvObject$> kept;
    for (const Json& c : Group("hashes", "method")) {
        const ZvString$ name = new ZvString(c["text"].get<std::string>().c_str());
        EXPECT_EQ(name->GetHashCode(), Hex64(c["nameHash"])) << c;
        const ZvObject$ result = new HashedType(Hex64(c["result"]));
        const ZvObject$ method = new ZvMethod(name, ZvType$(result).Get(), Parameters(c["params"], kept));
        EXPECT_EQ(method->GetHashCode(), Hex64(c["hash"])) << c;
    }
    for (const Json& c : Group("hashes", "constructor")) {
        const ZvObject$ constructor = new ZvConstructor(Parameters(c["params"], kept));
        EXPECT_EQ(constructor->GetHashCode(), Hex64(c["hash"])) << c;
    }
}
