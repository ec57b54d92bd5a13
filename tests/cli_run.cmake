# run(<name> <expected exit> <stdout regex> <stderr regex> <input text or ""> args...):
# runs the tool given as XEBRUK in WORK with the input text on standard
# input, and reports a mismatch of exit code, stdout or stderr.
function(run name want_rc out_re err_re input)
  set(in_file ${WORK}/${name}.in)
  file(WRITE ${in_file} "${input}")
  execute_process(COMMAND ${XEBRUK} ${ARGN} INPUT_FILE ${in_file} WORKING_DIRECTORY ${WORK}
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL want_rc OR NOT out MATCHES "${out_re}" OR NOT err MATCHES "${err_re}")
    message(SEND_ERROR "${name}: exit ${rc} (want ${want_rc})\n--- stdout:\n${out}\n--- stderr:\n${err}")
  endif()
endfunction()
