PARAMETERS [Start Date] DateTime, [Least] Long;
SELECT * FROM tblSite WHERE Opened >= [Start Date] OR SiteID > [Least];