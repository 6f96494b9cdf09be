#pragma once

// The names of element types in the names of template instances, as they travel in files: scalars and classes as 64-bit
// Win32 compilers spell them, the same on every platform and compiler. Internal; not for clients.

#define ZV_FOR_EACH_ELEMENT_NAME(X)                          \
    X("bool", bool)                                          \
    X("char", char)                                          \
    X("unsigned char", unsigned char)                        \
    X("short", short)                                        \
    X("unsigned short", unsigned short)                      \
    X("int", int)                                            \
    X("unsigned int", unsigned int)                          \
    X("__int64", long long)                                  \
    X("unsigned __int64", unsigned long long)                \
    X("float", float)                                        \
    X("double", double)                                      \
    X("struct CG::vec2<int> ", CG::vec2<int>)                \
    X("struct CG::vec2<float> ", CG::vec2<float>)            \
    X("struct CG::vec2<double> ", CG::vec2<double>)          \
    X("struct CG::vec3<float> ", CG::vec3<float>)            \
    X("struct CG::vec3<double> ", CG::vec3<double>)          \
    X("struct CG::vec4<float> ", CG::vec4<float>)            \
    X("struct CG::vec4<double> ", CG::vec4<double>)          \
    X("struct CG::mat3<float> ", CG::mat3<float>)            \
    X("struct CG::mat3<double> ", CG::mat3<double>)          \
    X("struct CG::mat4<float> ", CG::mat4<float>)            \
    X("struct CG::mat4<double> ", CG::mat4<double>)          \
    X("struct CG::rotation<float> ", CG::rotation<float>)    \
    X("struct CG::rotation<double> ", CG::rotation<double>)  \
    X("struct zvcolor", zvcolor)                             \
    X("class ZvObject$", ZvObject$)                          \
    X("class ZvObject *", ZvObject*)

/// Those that single fields have beyond them.
#define ZV_FOR_EACH_SINGLE_FIELD_NAME(X)                     \
    X("struct CG::vec3<int> ", CG::vec3<int>)                \
    X("struct CG::vec4<int> ", CG::vec4<int>)                \
    X("class ZvInterface$", ZvInterface$)                    \
    X("class ZvInterface *", ZvInterface*)
