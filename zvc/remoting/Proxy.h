#pragma once

#include "zvc/remoting/ZvObjRef.h"

namespace remoting {

/// Base of an application's stub classes. A stub keeps the ZvObjRef that it works through and calls its Invoke.
class ZV_API Proxy : public ZvMarshalByRefObject {
    ZV_DECLARE_CLASS(Proxy)
    ZV_DECLARE_TABLES()
public:
    Proxy();
    Proxy(const Proxy& other);                                       ///< shares the reference
    Proxy& operator=(const Proxy& other);
    ~Proxy() override;

protected:
    ZvObjRef$ m_reference;                                           // the stub's to use; null at first
};
ZV_DECLARE_HANDLE(Proxy, ZvMarshalByRefObject$);

}
