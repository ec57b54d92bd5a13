# The 273 WH parameter sets: rng/wh_parameters.inc.
xebruk_table_generator(wh_parameters "Regenerating rng/wh_parameters.inc")
