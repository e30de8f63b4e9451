/**
   @file
   The base runtime: everything.

   @since 1.0
*/
#ifndef PB_H
#define PB_H

#include <pb/pb_abort.h>
#include <pb/pb_base.h>
#include <pb/pb_buffer.h>
#include <pb/pb_enum.h>
#include <pb/pb_flagset.h>
#include <pb/pb_int.h>
#include <pb/pb_mem.h>
#include <pb/pb_obj.h>
#include <pb/pb_random.h>
#include <pb/pb_real.h>
#include <pb/pb_string.h>
#include <pb/pb_vector.h>

#endif
