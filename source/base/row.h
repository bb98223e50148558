/*
 * row.h - the stored forms of a table's row and the moves between a row's
 * in-memory formats. The compact form is a stream of variable integers that
 * holds only the columns with a value, each under its column id, and so reads
 * back under a later version of the table; the expanded form is the row
 * buffer's image and means something only to the catalogue that wrote it.
 * Layouts are at the top of row.cpp.
 *
 * Codes shared by the family: eINVNULLARG for a null row, coder or table;
 * the decoder's and encoder's codes (eEOD, eINVVARINT, eDBCORRUPTED,
 * eNOTIMPLEMENTED for a bulk move without a bulk function); the tags'
 * eNOMEMORY; the type descriptors' codes for a value. Codes marked "reported"
 * also go through zelErrorEx on the row's hErr (null: none); the others are
 * plain return codes. Decoders and encoders of a B_BUFFER_T context use
 * b_bufferInputByte / b_bufferInputBytesBulk and b_bufferEmitByte /
 * b_bufferEmitBytesBulk; every unpack seeks its decoder's buffer to 0.
 */
#ifndef ROW_H
#define ROW_H

#include "coder_types.h"
#include "dbobj_types.h"

ZEL_EXTERN_C_BEGIN

/* Writes the compact stream of a row in ZEL_ROW_FORMAT_BUFFER. A row kept
 * compact has its stream copied whole into the encoder's context, which
 * must be a B_BUFFER_T, and gives sOKAY whatever the copy said. Any other
 * format: eNOTIMPLEMENTED, reported. On a failure the partial stream stays
 * in the sink for the caller to discard. */
ZEL_NODISCARD ZEL_RETCODE row_pack_compact(const ZEL_ROW *row, const B_ENCODER_T *encoder);

/* Fills `row` (every field is written) from a compact stream. Without dbi,
 * or with a configured row_format of ZEL_ROW_FORMAT_BUFFER, as
 * row_unpack_compact_buffer. With ZEL_ROW_FORMAT_COMPACT the stream is kept:
 * a B_BUFFER_T from dbi's bufferPool receives a copy of the decoder's whole
 * buffer (a borrowed buffer is referred to, not copied: it must outlive the
 * row); a pool or copy failure is reported. Another row_format:
 * eNOTIMPLEMENTED, reported. */
ZEL_NODISCARD ZEL_RETCODE row_unpack_compact(ZEL_ROW *row, const B_DECODER_T *decoder,
                                             ZEL_ROWID_T rowid, SCH_TBL_INFO_C ti, B_TAG_SUB subTag,
                                             ZEL_ERR *hErr, DB_INSTANCE *dbi);
/* Fills `row` as a row buffer of `ti` from a compact stream, allocated
 * cleared from subTag. Columns missing from the stream read as vsNULL
 * (nullable) or vsNOVAL; a group whose id or value cannot be read is
 * dropped and reading goes on; the row fails only when a group count cannot
 * be read. On a failure row_data is freed and the code returned. */
ZEL_NODISCARD ZEL_RETCODE row_unpack_compact_buffer(ZEL_ROW *row, const B_DECODER_T *decoder,
                                                    ZEL_ROWID_T rowid, SCH_TBL_INFO_C ti,
                                                    B_TAG_SUB subTag, ZEL_ERR *hErr,
                                                    DB_INSTANCE *dbi);

/* The expanded image of a row in ZEL_ROW_FORMAT_BUFFER, through the
 * encoder's bulk function; other formats: eNOTIMPLEMENTED, reported. */
ZEL_NODISCARD ZEL_RETCODE row_pack_expanded(const ZEL_ROW *row, const B_ENCODER_T *encoder);
/* Fills `row` as a row buffer from an expanded image. A stored length past
 * the end of the input is eEOD before anything is allocated; the buffer is
 * at least the table's row_buffer_size. On a failure nothing is kept. */
ZEL_NODISCARD ZEL_RETCODE row_unpack_expanded(ZEL_ROW *row, const B_DECODER_T *decoder,
                                              ZEL_ROWID_T rowid, SCH_TBL_INFO_C ti,
                                              B_TAG_SUB subTag, ZEL_ERR *hErr, DB_INSTANCE *dbi);

/* Moves a row to `format`. To ZEL_ROW_FORMAT_COMPACT: packs into a buffer
 * from dbi's pool (or subTag without dbi) and frees the row buffer; to
 * ZEL_ROW_FORMAT_BUFFER: unpacks the kept stream and gives its buffer back,
 * or on a failure leaves the row compact as it was. The same format:
 * sOKAY. ZEL_ROW_FORMAT_VALUE: eNOTIMPLEMENTED, an unknown format or a
 * buffer row from another format: eSYS_ERROR, a pool failure: eNOMEMORY,
 * all reported. */
ZEL_NODISCARD ZEL_RETCODE row_convert(ZEL_ROW *row, ZEL_ROW_FORMAT format);

/* Releases what the row holds: row_data of a buffer row (avls, joins and
 * data cleared), the B_BUFFER_T of a compact row (to dbi's pool, or freed
 * on subTag without dbi). Other formats are left alone. Null is accepted. */
void row_free(ZEL_ROW *row);

/* Stores `rowid` in a ZEL_ROWID column's 8 bytes at colData. */
void row_set_rowid_column(void *colData, ZEL_ROWID_T rowid);

/* Whether column `ci` of a buffer row goes into the compact stream: not a
 * rowid or reference column, not null, and with status vsOKAY (vsNOVAL for
 * a large object, whose content lies elsewhere). */
ZEL_BOOL_T calc_storable_buffer(SCH_COL_INFO_C ci, const ZEL_ROW *row);

ZEL_EXTERN_C_END

#endif /* ROW_H */
