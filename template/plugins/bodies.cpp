// A plug-in: the program knows its classes by their names alone.

#include <zvc/zvc.h>

class Ball : public ZvObject {
    ZV_DECLARE_CLASS(Ball)
    ZV_DECLARE_CREATE(Ball)
    ZV_DECLARE_TABLES()
public:
    double Volume() { return 4.0 / 3.0 * 3.14159265358979 * m_radius * m_radius * m_radius; }

    double m_radius = 2;
};

ZV_MODULE("bodies", nullptr, nullptr)
ZV_DEFINE_CLASS(Ball, (ZvObject), .create = &Create, ZV_TABLES)
ZV_FIELDS(Ball, ZV_FIELD(m_radius))
ZV_METHODS(Ball, ZV_METHOD(Volume))
ZV_CONSTRUCTORS(Ball, ZV_CONSTRUCTOR())
