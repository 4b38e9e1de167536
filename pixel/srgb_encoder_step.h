// The two steps of the sRGB encoder of the float record on the bits of a float clamped to
// 2^-13 .. 1 - 2^-24: the segment of the table it falls in, and its byte from the segment's
// entry. U is uint32_t or a vector of them, so that every vector form computes each lane with
// the scalar's text. No include guard on purpose: the vector forms of the blur include it in
// their own namespace, so that it is compiled for their target.
template <class U>
inline U EncoderSegment(U aBits) {
    return (aBits - 0x39000000u) >> 20;
}
template <class U>
inline U EncoderByte(U aBits, U aEntry) {
    return ((((aBits >> 12) & 255u) * (aEntry & 0xFFFFu) + ((aEntry >> 7) & 0x1FFFE00u)) >> 16) & 255u;
}
