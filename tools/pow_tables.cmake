# Tables of the power kernels: vecmath/pow_tables.inc.
xebruk_table_generator(pow_tables "Regenerating vecmath/pow_tables.inc")
