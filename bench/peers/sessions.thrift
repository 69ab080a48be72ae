// The exchange of bench_peers for Thrift: the fields of XC2S_CheckInReq, XC2S_CheckOutReq and their answers without
// the Req ID, in whose place Thrift has the sequence numbers of its calls.
namespace cpp bench_thrift

struct CheckInRequest {
  1: string user_id
  2: string user_no
  3: string user_ip
}

struct CheckInAnswer {
  1: string user_id
  2: string user_no
  3: string user_ip
  4: i32 result
  5: string free
  6: i32 bill_type
  7: i32 product_id
  8: i64 remain_minutes
  9: string crm_code
  10: string end_date
  11: string seq_no
  12: string error_msg
}

struct CheckOutRequest {
  1: string user_id
  2: string user_no
  3: string seq_no
}

struct CheckOutAnswer {
  1: string user_id
  2: string user_no
  3: bool success
  4: string error_msg
}

service Sessions {
  CheckInAnswer checkIn(1: CheckInRequest request)
  CheckOutAnswer checkOut(1: CheckOutRequest request)
}
