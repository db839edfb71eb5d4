#include "wbem/answer_stream.h"

#include "wbem/xml_text.h"

namespace wbem {

AnswerStream::AnswerStream(const Request& request, std::string_view method, ByteSink& sink)
    : request_(request), method_(method), sink_(sink) {
  Begin();
  pending_ += "<IRETURNVALUE>";
}

void AnswerStream::Finish() {
  pending_ += "</IRETURNVALUE>";
  End();
}

void AnswerStream::Fail(const CimError& error) {
  if (sent_) throw StreamBroken(error.what());
  pending_.clear();
  outcome_ = {error.code(), 0};
  Begin();
  pending_ += "<ERROR CODE=\"" + std::to_string(error.code()) + "\" DESCRIPTION=\"";
  AppendEscaped(pending_, error.what());
  pending_ += "\"/>";
  End();
}

void AnswerStream::Flush() {
  sent_ = true;
  sink_.Write(pending_);
  pending_.clear();
}

void AnswerStream::Begin() {
  pending_ +=
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
      "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"";
  AppendEscaped(pending_, request_.message_id);
  pending_ += "\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP><";
  pending_ += request_.intrinsic ? "IMETHODRESPONSE" : "METHODRESPONSE";
  pending_ += " NAME=\"";
  AppendEscaped(pending_, method_);
  pending_ += "\">";
}

void AnswerStream::End() {
  pending_ += request_.intrinsic ? "</IMETHODRESPONSE>" : "</METHODRESPONSE>";
  pending_ += "</SIMPLERSP></MESSAGE></CIM>\n";
  Flush();
}

}  // namespace wbem
