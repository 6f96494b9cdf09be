#include "zvc/values/ZvCollectionInterfaces.h"

ZV_DEFINE_INTERFACE(ZvIEnumerator, (ZvInterface))
ZV_DEFINE_INTERFACE(ZvIDictionaryEnumerator, (ZvIEnumerator))
ZV_DEFINE_INTERFACE(ZvIEnumeratable, (ZvInterface))
ZV_DEFINE_INTERFACE(ZvICollection, (ZvIEnumeratable))
ZV_DEFINE_INTERFACE(ZvIList, (ZvICollection))
ZV_DEFINE_INTERFACE(ZvIDictionary, (ZvICollection))

ZvIEnumerator::~ZvIEnumerator() = default;
ZvIDictionaryEnumerator::~ZvIDictionaryEnumerator() = default;
ZvIEnumeratable::~ZvIEnumeratable() = default;
ZvICollection::~ZvICollection() = default;
ZvIList::~ZvIList() = default;
ZvIDictionary::~ZvIDictionary() = default;
