#include "zvc/remoting/Proxy.h"

#include "zvc/core/ZvConstructor.h"
#include "zvc/core/ZvField.h"
#include "zvc/core/ZvFieldMacros.h"
#include "zvc/core/ZvMethodMacros.h"

ZV_DEFINE_CLASS(remoting::Proxy, (ZvMarshalByRefObject), ZV_TABLES)

namespace remoting {

ZV_FIELDS(Proxy)
ZV_METHODS(Proxy)
ZV_CONSTRUCTORS(Proxy)

Proxy::Proxy() = default;
Proxy::Proxy(const Proxy& other) = default;
Proxy::~Proxy() = default;

Proxy& Proxy::operator=(const Proxy& other) {
    ZvMarshalByRefObject::operator=(other);
    m_reference = other.m_reference;
    return *this;
}

}
