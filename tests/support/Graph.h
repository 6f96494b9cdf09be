#pragma once

// Object graphs of the computed cases.

#include "serialization/CaseClasses.h"
#include "support/Cases.h"

namespace cases {

/// Makes the objects of one case. Labels stand for objects that were made before.
class Graph {
public:
    /// False for a class that the library, or the test, does not have yet.
    static bool Knows(const Json& j) {
        if (j.is_array()) {
            for (const Json& e : j)
                if (!Knows(e)) return false;
            return true;
        }
        if (!j.is_object()) return true;
        // No operation selects what is not there; such an enumeration comes out of a stream alone.
        if (j.contains("candidates") && j["selection"].get<size_t>() >= j["candidates"].size() && j["selection"] != 0) return false;
        if (j.contains("t") && j["t"] != "type" && ZvSystem::FindType(j["t"].get<std::string>().c_str()) == nullptr) return false;
        if (j.contains("t") && j["t"] == "type" && ZvSystem::FindType(j["name"].get<std::string>().c_str()) == nullptr) return false;
        for (const auto& [key, value] : j.items())
            if (!Knows(value)) return false;
        return true;
    }

    ZvObject$ Make(const Json& j) {
        if (j.is_null()) return nullptr;
        if (j.contains("ref")) return m_labels.at(j["ref"]);
        const std::string t = j["t"];
        if (t == "type") return ZvObject$(ZvSystem::FindType(j["name"].get<std::string>().c_str()));
        ZvType* type = ZvSystem::FindType(t.c_str());
        if (t == "GBag") return Label(j, FillBag(j));
        if (t == "ZvString") return Label(j, new ZvString((j.contains("v") ? j["v"].get<std::string>() : FromHex(j["hex"])).c_str()));
        if (const ZvObject$ array = MakeArray(type, j)) return Label(j, array);
        const ZvObject$ o = Label(j, type->CreateObject());
        Fill(o, t, j);
        return o;
    }

    /// The label stands for an object from elsewhere.
    void Name(const std::string& label, const ZvObject$& object) { m_labels[label] = object; }

private:
    ZvObject$ Label(const Json& j, const ZvObject$& o) {
        m_all.push_back(o);
        if (j.contains("id")) m_labels[j["id"]] = o;
        return o;
    }

    ZvObject$ FillBag(const Json& j) {
        GBag* bag = new GBag;
        const ZvObject$ o = bag;
        Label(j, o);
        bag->alpha = Make(j["alpha"]);
        bag->beta = Make(j["beta"]);
        bag->gamma = Make(j["gamma"]);
        return o;
    }

    ZvObject$ MakeArray(ZvType* type, const Json& j) {
        ZvObject$ made;
        const std::string name = type->GetName()->CStr();
        if (name.size() < 5 || name.substr(name.size() - 5) != "Array") return made;
#define CASES_ARRAY(key, ...)                                                                              \
        if (type == &ZvPrimArray<__VA_ARGS__>::s_type) {                                                   \
            auto* array = new ZvPrimArray<__VA_ARGS__>(j["v"].size(), nullptr);                            \
            made = array;                                                                                  \
            for (size_t i = 0; i < j["v"].size(); ++i) (*array)[i] = Value<__VA_ARGS__>(j["v"][i]);        \
        }
        CASES_KINDS(CASES_ARRAY)
        if (name == "ZvObjectArray") {
            auto* array = new ZvPrimArray<ZvObject$>(j["v"].size(), nullptr);
            made = array;
            Label(j, made);
            for (size_t i = 0; i < j["v"].size(); ++i) (*array)[i] = Make(j["v"][i]);
        }
        if (name == "ZvObjectPtrArray") {
            auto* array = new ZvPrimArray<ZvObject*>(j["v"].size(), nullptr);
            made = array;
            Label(j, made);
            for (size_t i = 0; i < j["v"].size(); ++i) (*array)[i] = Make(j["v"][i]).Get();
        }
        return made;
    }

    void Fill(const ZvObject$& o, const std::string& t, const Json& j) {
        if (const ZvArrayList$ list = o)
            for (const Json& e : j["items"]) list->Add(Make(e));
        if (const ZvQueue$ queue = o)
            for (const Json& e : j["items"]) queue->Enqueue(Make(e));
        if (const ZvStack$ stack = o)
            for (const Json& e : j["items"]) stack->Push(Make(e));
        if (const ZvHashSet$ set = o)
            for (const Json& e : j["add"]) set->Add(Make(e));
        if (const ZvDictionary$ dictionary = o)
            for (const Json& e : j["add"]) {
                const ZvObject$ key = Make(e[0]);
                dictionary->Add(key, Make(e[1]));
            }
        if (const ZvSerializationInfo$ info = o)
            for (const Json& e : j["set"]) {
                const ZvObject$ name = Make(e[0]);
                info->SetValue(name, Make(e[1]));
            }
        if (j.contains("fields"))
            for (const auto& [name, value] : j["fields"].items()) FillField(o, name, value);
        if (t == "GStrict") GStrict$(o)->v = j["v"];
        if (t == "GOpen") GOpen$(o)->v = j["v"];
        if (const ZvValue$ box = o; box && j.contains("v")) FillBox(box, j["v"]);
        FillVector(o, j);
        FillSmall(o, j);
    }

    void FillSmall(const ZvObject$& o, const Json& j) {
        if (o->IsKindOf(&ZvEnum::s_type)) {
            auto* e = static_cast<ZvEnum*>(o.Get());
            for (const Json& c : j["candidates"]) e->AddCandidate(Make(c));
            e->Select(j["selection"].get<size_t>());
        }
        if (o->IsKindOf(&ZvData::s_type)) {
            const std::string bytes = FromHex(j["bytes"]);
            static_cast<ZvData*>(o.Get())->AddValue(bytes.size(), bytes.data());
        }
        if (o->IsKindOf(&ZvImage::s_type)) {
            const int width = j["width"], height = j["height"], channels = j["channels"], depth = j["depth"], tag = j["sampleType"];
            std::string block = FromHex(j["block"]);
            const int pitch = ZvImage::CalculateLinePitch(width, channels, depth);
            ASSERT_EQ(block.size(), static_cast<size_t>(std::abs(height)) * static_cast<size_t>(pitch));
            static_cast<ZvImage*>(o.Get())->Create(width, height, static_cast<char>(channels), static_cast<short>(depth),
                                                   static_cast<char>(tag), reinterpret_cast<unsigned char*>(block.data()), pitch, true);
        }
        if (o->IsKindOf(&ZvDateTime::s_type)) {
            auto* d = static_cast<ZvDateTime*>(o.Get());
            const auto member = [&](const char* name) { return j[name].get<int>(); };
            *d = ZvDateTime(member("day"), member("month"), member("year"), member("hour"), member("minute"),
                            Scalar<double>(j["second"]), member("zone"), j["dst"].get<bool>());
        }
    }

    template <class T>
    void FillVectorOf(const ZvObject$& o, const Json& j) {
        if (o->GetType() != &ZvVector<T>::s_type) return;
        for (const Json& e : j["v"]) static_cast<ZvVector<T>*>(o.Get())->Add(Value<T>(e));
    }

    void FillVector(const ZvObject$& o, const Json& j) {
        FillVectorOf<unsigned char>(o, j);
        FillVectorOf<char>(o, j);
        FillVectorOf<short>(o, j);
        FillVectorOf<unsigned short>(o, j);
        FillVectorOf<int>(o, j);
        FillVectorOf<unsigned int>(o, j);
        FillVectorOf<long long>(o, j);
        FillVectorOf<unsigned long long>(o, j);
        FillVectorOf<float>(o, j);
        FillVectorOf<double>(o, j);
        FillVectorOf<CG::vec2<int>>(o, j);
        FillVectorOf<CG::vec2<float>>(o, j);
        FillVectorOf<CG::vec2<double>>(o, j);
        FillVectorOf<CG::vec3<int>>(o, j);
        FillVectorOf<CG::vec3<float>>(o, j);
        FillVectorOf<CG::vec3<double>>(o, j);
        FillVectorOf<CG::vec4<int>>(o, j);
        FillVectorOf<CG::vec4<float>>(o, j);
        FillVectorOf<CG::vec4<double>>(o, j);
    }

    void FillBox(const ZvValue$& box, const Json& v) {
#define CASES_BOX(key, ...)                                                                                 \
        if (box->GetType() == &ZvPrimitive<__VA_ARGS__>::s_type)                                            \
            static_cast<ZvPrimitive<__VA_ARGS__>*>(box.Get())->value = Value<__VA_ARGS__>(v);
        CASES_KINDS(CASES_BOX)
        FillReference<ZvObject$>(box, v);
        FillReference<ZvInterface$>(box, v);
        if (box->GetType() == &ZvPrimitive<ZvObject*>::s_type)
            static_cast<ZvPrimitive<ZvObject*>*>(box.Get())->value = Make(v).Get();
        if (box->GetType() == &ZvPrimitive<ZvInterface*>::s_type)
            static_cast<ZvPrimitive<ZvInterface*>*>(box.Get())->value = ZvInterface::FromObject(Make(v).Get());
    }

    template <class H>
    void FillReference(const ZvValue$& box, const Json& v) {
        if (box->GetType() == &ZvPrimitive<H>::s_type) static_cast<ZvPrimitive<H>*>(box.Get())->value = Make(v);
    }

    // Straight into the member: its field knows where it is and of what kind.
    void FillField(const ZvObject$& o, const std::string& name, const Json& v) {
        ZvField$ field = o->GetType()->FindField(new ZvString(name.c_str()));
        ASSERT_TRUE(field) << name;
        const std::string type = field->Type()->GetName()->CStr();
        if (type == "ZvInterfaceRef") {              // no box carries an interface into a field
            static_cast<GAll*>(o.Get())->f_interfaceref = ZvInterface$(Make(v));
        } else if (type == "ZvInterfacePtr") {
            static_cast<GAll*>(o.Get())->f_interfaceptr = ZvInterface::FromObject(Make(v).Get());
        } else if (type.size() > 5 && type.substr(type.size() - 5) == "Array") {
            field->SetValue(o.Get(), MakeArray(const_cast<ZvType*>(field->Type()), Json{{"v", v}}));
        } else {
            const ZvValue$ box = ZvObject$(const_cast<ZvType*>(field->Type())->CreateObject());
            FillBox(box, v);
            field->SetValue(o.Get(), box);
        }
    }

    std::map<std::string, ZvObject$> m_labels;
    std::vector<ZvObject$> m_all;                // what only a plain pointer refers to lives as long as the case
};

}
