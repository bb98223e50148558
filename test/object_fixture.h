// object_fixture.h - what the tests of the bucket, chunk, item-zero and
// R-tree node formats share: the fixed catalogue of fuzz/object_catalog.h
// on a checked sub tag, and packing any object through its writer into a
// library buffer (a growing one, or the caller's memory for checks made
// under allocation failures).
#ifndef OBJECT_FIXTURE_H
#define OBJECT_FIXTURE_H

#include <gtest/gtest.h>

#include <type_traits>

#include "../fuzz/object_catalog.h"
#include "row_fixture.h"
#include "tag_fixture.h"

class ObjectTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        ASSERT_EQ(oc_build(sub, &cat), sOKAY);
    }
    void TearDown() override {
        sch_destroy(cat.sch);
        TaggedTest::TearDown();
    }
    ObjectCatalog cat;
};

// The bytes `pack` writes of `obj`, which must answer `want`.
template <class Obj>
Bytes of_pack(ZEL_RETCODE (*pack)(const Obj *, const B_ENCODER_T *), const Obj &obj, B_TAG_SUB sub,
              ZEL_RETCODE want = sOKAY) {
    RfSink s(sub);
    EXPECT_EQ(pack(&obj, &s.enc), want);
    return s.bytes();
}

template <class Obj>
Bytes of_pack_static(ZEL_RETCODE (*pack)(const Obj *, const B_ENCODER_T *), const Obj &obj) {
    RfStaticSink s;
    EXPECT_EQ(pack(&obj, &s.enc), sOKAY);
    return s.bytes();
}

// The code `pack` answers through an encoder without a bulk function.
template <class Obj>
ZEL_RETCODE of_pack_no_bulk(ZEL_RETCODE (*pack)(const Obj *, const B_ENCODER_T *), const Obj &obj,
                            B_TAG_SUB sub) {
    RfSink s(sub);
    s.enc.bulk_fcn = nullptr;
    return pack(&obj, &s.enc);
}

// `unpack` of `bytes` into `obj` with `item` (a key), or without.
template <class Obj, class Item>
ZEL_RETCODE of_unpack(ZEL_RETCODE (*unpack)(Obj *, Item, const B_DECODER_T *, B_TAG_SUB), Obj *obj,
                      std::type_identity_t<Item> item, const Bytes &bytes, B_TAG_SUB sub) {
    RfSource src(bytes, sub);
    return unpack(obj, item, &src.dec, sub);
}
template <class Obj>
ZEL_RETCODE of_unpack(ZEL_RETCODE (*unpack)(Obj *, const B_DECODER_T *, B_TAG_SUB), Obj *obj,
                      const Bytes &bytes, B_TAG_SUB sub) {
    RfSource src(bytes, sub);
    return unpack(obj, &src.dec, sub);
}

#endif
