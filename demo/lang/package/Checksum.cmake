# Writes "<FILE>.md5" in the form md5sum writes: the digest, two spaces, the name.
file(MD5 "${FILE}" digest)
get_filename_component(name "${FILE}" NAME)
file(WRITE "${FILE}.md5" "${digest}  ${name}\n")
