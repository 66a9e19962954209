// libzeqj.so is the zeqj_internal archive linked whole, with every symbol but
// the C API made local by the export map. This file only gives the shared
// library target a source of its own.
