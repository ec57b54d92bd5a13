# Band quadratics and constants of the root kernels: vecmath/roots_tables.inc.
xebruk_table_generator(roots_tables "Regenerating vecmath/roots_tables.inc")
